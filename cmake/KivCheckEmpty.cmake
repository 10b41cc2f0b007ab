# Fails when the file LOG holds anything (used to keep the documentation warning-free).
file(READ ${LOG} content)
if(NOT content STREQUAL "")
  message(FATAL_ERROR "Doxygen warnings:\n${content}")
endif()
