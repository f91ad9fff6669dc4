# The compiler's shared run time, which programs that are built without -static load.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(shared_unwinder libgcc_s_dw2-1.dll)
else()
  set(shared_unwinder libgcc_s_seh-1.dll)
endif()

# Copies the DLLs of the compiler's shared run time into `folder`, beside the programs that load them.
function(brindlex_copy_shared_run_time folder)
  foreach(dll ${shared_unwinder} libstdc++-6.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
      OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    if(NOT IS_ABSOLUTE ${path})
      message(FATAL_ERROR "${CMAKE_CXX_COMPILER} has no ${dll}")
    endif()
    configure_file(${path} ${folder}/${dll} COPYONLY)
  endforeach()
endfunction()
