# Installs the build into a folder, builds the program against that and runs it:
#     cmake -D BUILD=... -D SOURCE=... -D WORK=... -D COMPILER=... -P Check.cmake
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN}: ${result}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/prefix)
run(${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/build
    -D CMAKE_PREFIX_PATH=${WORK}/prefix -D CMAKE_CXX_COMPILER=${COMPILER})
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${WORK}/build/program)
if(NOT output STREQUAL "30 x 20\n")
  message(FATAL_ERROR "the program says: ${output}")
endif()
file(REMOVE_RECURSE ${WORK})
