# Builds the library and a program on another platform folder, and runs the program. The other platform knows only the
# targets and headers that docs/architecture.md lists: what the library takes beyond them does not compile here.
function(run what)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${what} failed (${result}):\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

run("Configuring" ${CMAKE_COMMAND} -S "${SOURCE_DIR}" -B "${WORK_DIR}" -G "${GENERATOR}" "-DCMAKE_CXX_COMPILER=${CXX}"
    "-DKOLTA_PLATFORM_DIR=${CMAKE_CURRENT_LIST_DIR}/secondplatform" "-DFIRST_PLATFORM_DIR=${SOURCE_DIR}/platform"
    "-DFIRST_BUILD_DIR=${BUILD_DIR}" -DCMAKE_BUILD_TYPE=None -DKOLTA_BUILD_TESTS=OFF -DKOLTA_BUILD_APPS=OFF)
run("Building" ${CMAKE_COMMAND} --build "${WORK_DIR}" --target second_program)
run("The program" "${WORK_DIR}/bin/second_program")
if(NOT output MATCHES "one tuner, free, on another platform")
    message(FATAL_ERROR "The program said: ${output}")
endif()
