# Test script: installs the build into a scratch prefix, then configures,
# builds and runs the example against the installed package.
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix
  RESULT_VARIABLE rc OUTPUT_QUIET)
if(rc)
  message(FATAL_ERROR "install failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples -B ${WORK_DIR}/build -G Ninja
  -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix -DQOR_EXAMPLES_STANDALONE=ON RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "configuring the example against the package failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/build RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "building the example failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E env --unset=QOR_DEF_LIBRARY ${WORK_DIR}/build/qor-example
  RESULT_VARIABLE rc OUTPUT_VARIABLE out)
message(STATUS "${out}")
if(rc)
  message(FATAL_ERROR "the example failed")
endif()
