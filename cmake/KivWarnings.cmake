# Warnings for the project's own targets only (Qt's and GL's headers are system headers).
function(kiv_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
endfunction()

# Adds every subdirectory of `dir` that has a CMakeLists.txt, in name order.
function(kiv_add_subdirectories dir)
  file(GLOB children LIST_DIRECTORIES true RELATIVE ${dir} ${dir}/*)
  list(SORT children)
  foreach(child ${children})
    if(EXISTS ${dir}/${child}/CMakeLists.txt)
      add_subdirectory(${child})
    endif()
  endforeach()
endfunction()
