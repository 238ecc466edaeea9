# Installs the build tree into a fresh prefix, moves that prefix, and builds and runs a program that knows nothing but
# the prefix: once through find_package(), once through pkg-config.
function(run what)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${what} failed (${result}):\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

function(run_program program)
    run("Running ${program}" "${program}")
    if(NOT output MATCHES "consumer: all well")
        message(FATAL_ERROR "${program} said: ${output}")
    endif()
endfunction()

file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")
run("Installing" ${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${WORK_DIR}/first")
file(RENAME "${WORK_DIR}/first" "${WORK_DIR}/prefix")
set(prefix "${WORK_DIR}/prefix")

run("Configuring with find_package" ${CMAKE_COMMAND} -S "${SOURCE_DIR}" -B "${WORK_DIR}/build" -G "${GENERATOR}"
    "-DCMAKE_CXX_COMPILER=${CXX}" "-DCMAKE_PREFIX_PATH=${prefix}")
run("Building with find_package" ${CMAKE_COMMAND} --build "${WORK_DIR}/build")
run_program("${WORK_DIR}/build/consumer")

if(NOT PKG_CONFIG)
    message(STATUS "There is no pkg-config here; that half is left out.")
    return()
endif()
set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIBDIR}/pkgconfig")
run("pkg-config" "${PKG_CONFIG}" --cflags --libs koltacommon)
separate_arguments(flags UNIX_COMMAND "${output}")
run("Building with pkg-config" "${CXX}" "${SOURCE_DIR}/main.cpp" -o "${WORK_DIR}/consumer" ${flags}
    "-Wl,-rpath,${prefix}/${LIBDIR}")
run_program("${WORK_DIR}/consumer")

file(GLOB programs "${prefix}/bin/*")
foreach(program IN LISTS programs)
    run("Running the installed ${program}" "${program}" --version)
endforeach()
