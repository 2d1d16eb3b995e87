# Installs the build into a fresh prefix, runs the installed vexafs, then configures,
# builds and runs the consumer program against the installed package alone.
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix
    RESULT_VARIABLE rc OUTPUT_QUIET)
if(rc)
    message(FATAL_ERROR "install failed")
endif()
# The installed program must find the installed libraries by itself.
execute_process(COMMAND ${WORK_DIR}/prefix/bin/vexafs classify /a/b.txt
    RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(rc)
    message(FATAL_ERROR "the installed vexafs failed (${rc}): ${out}${err}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/consumer -B ${WORK_DIR}/build -G Ninja
    -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix RESULT_VARIABLE rc)
if(rc)
    message(FATAL_ERROR "configuring the consumer failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/build RESULT_VARIABLE rc)
if(rc)
    message(FATAL_ERROR "building the consumer failed")
endif()
execute_process(COMMAND ${WORK_DIR}/build/consumer ${WORK_DIR} RESULT_VARIABLE rc OUTPUT_VARIABLE out)
message(STATUS "consumer printed: ${out}")
if(rc)
    message(FATAL_ERROR "the consumer failed")
endif()
