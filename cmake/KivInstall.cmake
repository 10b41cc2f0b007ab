# Installation: libraries with their soname links, public headers under include/kiv/, a CMake
# package (find_package(Kiv) -> Kiv::kiv) and a pkg-config file (kiv.pc).
include(CMakePackageConfigHelpers)

set(KIV_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Kiv)
set(KIV_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/kiv)

set(_kiv_targets kiv votypes)
if(TARGET guihelper)
  list(APPEND _kiv_targets guihelper)
endif()
# Installed libraries find each other next to themselves (libkiv needs libvotypes and
# libguihelper), whatever the host's own run path says.
set_target_properties(${_kiv_targets} PROPERTIES INSTALL_RPATH "$ORIGIN")
install(TARGETS ${_kiv_targets} EXPORT KivTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${KIV_INCLUDE_DIR})

# Public headers: the plotting classes, the base types, the grid splitter, and the few math
# headers whose types appear in the plotting signatures (used inline by hosts).
file(GLOB _kiv_plot_headers ${PROJECT_SOURCE_DIR}/src/plot/*.h)
list(FILTER _kiv_plot_headers EXCLUDE REGEX "_p\\.h$")
file(GLOB _kiv_other_headers
  ${PROJECT_SOURCE_DIR}/src/votypes/*.h
  ${PROJECT_SOURCE_DIR}/src/guihelper/*.h
  ${PROJECT_SOURCE_DIR}/src/math/velo_matrix.h
  ${PROJECT_SOURCE_DIR}/src/math/velo_vector.h
  ${PROJECT_SOURCE_DIR}/src/math/velo_math_base.h
  ${PROJECT_SOURCE_DIR}/src/math/vo_exception.h
  ${PROJECT_SOURCE_DIR}/src/math/allocator.h
  ${PROJECT_SOURCE_DIR}/src/math/velo_lock.h)
install(FILES ${_kiv_plot_headers} ${_kiv_other_headers} DESTINATION ${KIV_INCLUDE_DIR})

install(EXPORT KivTargets NAMESPACE Kiv:: DESTINATION ${KIV_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KivConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KivConfig.cmake INSTALL_DESTINATION ${KIV_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KivConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KivConfig.cmake ${PROJECT_BINARY_DIR}/KivConfigVersion.cmake
  DESTINATION ${KIV_CMAKE_DIR})

set(KIV_PC_LIBS "-lkiv -lvotypes")
if(TARGET guihelper)
  string(APPEND KIV_PC_LIBS " -lguihelper")
endif()
file(RELATIVE_PATH KIV_PC_UP /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/kiv.pc.in ${PROJECT_BINARY_DIR}/kiv.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kiv.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
