# The stream reading of kivscope, apart from any window: the tool links it, and so do its
# tests, which may be configured first or without the examples.
if(NOT TARGET kivscopestream)
  set(_dir ${CMAKE_CURRENT_LIST_DIR})
  add_library(kivscopestream STATIC
    ${_dir}/rowdecoder.h ${_dir}/textlineparser.cpp ${_dir}/textlineparser.h
    ${_dir}/framedecoder.cpp ${_dir}/framedecoder.h ${_dir}/streamsource.h
    ${_dir}/filesource.cpp ${_dir}/filesource.h ${_dir}/udpsource.cpp ${_dir}/udpsource.h
    ${_dir}/streamreader.cpp ${_dir}/streamreader.h)
  set_target_properties(kivscopestream PROPERTIES AUTOMOC ON)
  target_include_directories(kivscopestream PUBLIC ${_dir})
  target_link_libraries(kivscopestream PUBLIC kiv Qt5::Core)
  kiv_set_warnings(kivscopestream)

  find_package(Qt5 5.15 QUIET COMPONENTS SerialPort)
  if(Qt5SerialPort_FOUND)
    target_sources(kivscopestream PRIVATE ${_dir}/serialsource.cpp ${_dir}/serialsource.h)
    target_compile_definitions(kivscopestream PUBLIC KIVSCOPE_SERIAL)
    target_link_libraries(kivscopestream PUBLIC Qt5::SerialPort)
  else()
    message(STATUS "kivscope: Qt SerialPort not found, --serial is left out")
  endif()
endif()
