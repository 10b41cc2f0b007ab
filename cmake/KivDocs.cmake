# `make docs`: the API reference (Doxygen HTML in build/docs/html). Fails on any warning.
find_package(Doxygen QUIET)
if(DOXYGEN_FOUND)
  configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
  add_custom_target(docs
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/docs
    COMMAND ${DOXYGEN_EXECUTABLE} ${PROJECT_BINARY_DIR}/Doxyfile
    COMMAND ${CMAKE_COMMAND} -DLOG=${PROJECT_BINARY_DIR}/docs/doxygen-warnings.log -P ${PROJECT_SOURCE_DIR}/cmake/KivCheckEmpty.cmake
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    COMMENT "Generating the API reference in ${PROJECT_BINARY_DIR}/docs/html"
    VERBATIM)
endif()
