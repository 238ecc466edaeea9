# How every target of this project is built: one place for standards, warnings and sanitizers.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_AUTOMOC ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")

# Installed programs and libraries find each other wherever the prefix is moved to.
file(RELATIVE_PATH kolta_bin_to_lib "/prefix/${CMAKE_INSTALL_BINDIR}" "/prefix/${CMAKE_INSTALL_LIBDIR}")
set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/${kolta_bin_to_lib}")

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()

include(GenerateExportHeader)
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()

add_library(kolta_options INTERFACE)
target_compile_options(kolta_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -fno-semantic-interposition
    $<$<BOOL:${KOLTA_WERROR}>:-Werror>)
target_compile_definitions(kolta_options INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_KEYWORDS
    QT_USE_QSTRINGBUILDER QT_DEPRECATED_WARNINGS)
if(KOLTA_SANITIZE)
    target_compile_options(kolta_options INTERFACE -fsanitize=${KOLTA_SANITIZE} -fno-omit-frame-pointer)
    target_link_options(kolta_options INTERFACE -fsanitize=${KOLTA_SANITIZE})
endif()
if(KOLTA_BUILD_FUZZ)
    # A fuzzer sees only what ends the program: undefined behaviour and failed assertions of Qt's containers must.
    target_compile_options(kolta_options INTERFACE -fno-sanitize-recover=all)
    target_compile_definitions(kolta_options INTERFACE QT_FORCE_ASSERTS)
    add_custom_target(fuzz_targets)
endif()

# Headers that most units include are compiled once for libraries and programs, and once for TESTS, which include more;
# those with windows (WIDGETS) have theirs too. Clang would want its own flags in every target.
option(KOLTA_PRECOMPILE "Precompile the Qt and standard headers that most units include" ON)
function(kolta_precompile name)
    cmake_parse_arguments(ARG "WIDGETS;TESTS" "" "" ${ARGN})
    if(NOT KOLTA_PRECOMPILE OR NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        return()
    endif()
    set(precompiled kolta_precompiled)
    set(headers <precompiled/core.h>) # no path, so that caches can share it
    set(libraries Qt5::Core kolta_options)
    if(ARG_WIDGETS)
        string(APPEND precompiled _widgets)
        list(APPEND headers <precompiled/widgets.h>)
        list(APPEND libraries Qt5::Widgets)
    endif()
    if(ARG_TESTS)
        string(APPEND precompiled _tests)
        list(APPEND headers <precompiled/tests.h>)
        list(APPEND libraries Qt5::Test)
    endif()
    if(NOT TARGET ${precompiled})
        file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/${precompiled}.cpp" CONTENT "" @ONLY)
        add_library(${precompiled} OBJECT "${CMAKE_BINARY_DIR}/${precompiled}.cpp")
        set_target_properties(${precompiled} PROPERTIES AUTOMOC OFF)
        target_link_libraries(${precompiled} PRIVATE ${libraries})
        target_include_directories(${precompiled} PRIVATE "${PROJECT_SOURCE_DIR}/cmake")
        target_precompile_headers(${precompiled} PRIVATE ${headers})
    endif()
    target_precompile_headers(${name} REUSE_FROM ${precompiled})
endfunction()

# kolta_library(<name> NAMESPACE_NAME <Name> INCLUDE_ROOT <dir> FOLDER <header folder> [COMPONENT <component>] [STATIC]
#               SOURCES ... HEADERS ... [PUBLIC libs...] [PRIVATE libs...])
# One library of the project: target <name>, alias and exported name Kolta::<Name>, its headers installed below
# include/koltacommon-1/<folder>; headers among the sources are private and stay here. Symbols are hidden but for what
# KOLTA_<NAME>_EXPORT of <folder>/export.h marks, which is made here. A library with a COMPONENT is installed as that and
# found by find_package(KoltaCommon COMPONENTS <component>) only.
function(kolta_library name)
    cmake_parse_arguments(ARG "STATIC" "NAMESPACE_NAME;INCLUDE_ROOT;FOLDER;COMPONENT" "SOURCES;HEADERS;PUBLIC;PRIVATE" ${ARGN})
    set(kind "")
    if(ARG_STATIC)
        set(kind STATIC)
    endif()
    add_library(${name} ${kind} ${ARG_SOURCES} ${ARG_HEADERS})
    add_library(Kolta::${ARG_NAMESPACE_NAME} ALIAS ${name})
    set_target_properties(${name} PROPERTIES
        EXPORT_NAME ${ARG_NAMESPACE_NAME}
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR})
    target_include_directories(${name} PUBLIC
        $<BUILD_INTERFACE:${ARG_INCLUDE_ROOT}>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/koltacommon-1>)
    target_compile_features(${name} PUBLIC cxx_std_17)
    string(REGEX REPLACE "^Kolta" "" upper "${ARG_NAMESPACE_NAME}")
    string(TOUPPER "KOLTA_${upper}" upper) # KOLTA_COMMON, KOLTA_VALUES …
    set(export_header "${CMAKE_CURRENT_BINARY_DIR}/include/${ARG_FOLDER}/export.h")
    generate_export_header(${name} BASE_NAME ${upper} EXPORT_FILE_NAME "${export_header}")
    target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${CMAKE_CURRENT_BINARY_DIR}/include>)
    get_target_property(type ${name} TYPE)
    if(type STREQUAL "STATIC_LIBRARY")
        target_compile_definitions(${name} PUBLIC ${upper}_STATIC_DEFINE)
    endif()
    target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE} $<BUILD_INTERFACE:kolta_options>)
    kolta_precompile(${name})
    set(export KoltaCommonTargets)
    set(component "")
    if(ARG_COMPONENT)
        set(export Kolta${ARG_COMPONENT}Targets)
        set(component COMPONENT ${ARG_COMPONENT})
        set_property(GLOBAL APPEND PROPERTY KOLTA_COMPONENTS ${ARG_COMPONENT})
    else()
        set_property(GLOBAL APPEND PROPERTY KOLTA_INSTALLED_LIBRARIES ${name})
    endif()
    install(TARGETS ${name} EXPORT ${export}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ${component}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} ${component}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} ${component})
    install(FILES ${ARG_HEADERS} "${export_header}" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/koltacommon-1/${ARG_FOLDER} ${component})
endfunction()

# kolta_static_dependency(<CMake package> [<pkg-config module>])
# What a program needs besides when the libraries are static: find_package() of the installed project asks for the
# package, its pkg-config file for the module. Said by whoever links it.
function(kolta_static_dependency package)
    set_property(GLOBAL APPEND PROPERTY KOLTA_STATIC_PACKAGES ${package})
    set_property(GLOBAL APPEND PROPERTY KOLTA_STATIC_MODULES ${ARGN})
endfunction()

# kolta_register_test(<name> COMMAND ... [LABELS ...] [LOCALE <locale>])
# A test for CTest, which runs off-screen and in no language unless one is given.
function(kolta_register_test name)
    cmake_parse_arguments(ARG "" "LOCALE" "COMMAND;LABELS" ${ARGN})
    if(NOT ARG_LOCALE)
        set(ARG_LOCALE C.UTF-8)
    endif()
    add_test(NAME ${name} COMMAND ${ARG_COMMAND})
    set_tests_properties(${name} PROPERTIES
        TIMEOUT 240
        LABELS "${ARG_LABELS}"
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=${ARG_LOCALE}")
endfunction()

# kolta_test(<name> SOURCES ... LIBS ... [LABELS ...] [FUNCTION <function> ROWS <row>...])
# One executable for one test, a class that ends with KOLTA_TEST(<class>). With ROWS each of these rows of that function's data is a test of its own,
# called <name>_<row> without the row's extension, so that long ones run beside each other.
function(kolta_test name)
    cmake_parse_arguments(ARG "" "FUNCTION" "SOURCES;LIBS;LABELS;ROWS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} kolta_test_support kolta_options)
    kolta_precompile(${name} TESTS)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    if(NOT ARG_ROWS)
        kolta_register_test(${name} COMMAND ${name} LABELS "${ARG_LABELS}")
    endif()
    foreach(row IN LISTS ARG_ROWS)
        get_filename_component(test "${name}_${row}" NAME_WLE)
        kolta_register_test(${test} COMMAND ${name} "${ARG_FUNCTION}:${row}" LABELS "${ARG_LABELS}")
        # To Qt Test a row that it does not know is no failure.
        set_tests_properties(${test} PROPERTIES FAIL_REGULAR_EXPRESSION "Unknown test")
    endforeach()
endfunction()

# kolta_tests(<name> LIBS ... TESTS ... [MESSAGING ...] [SOURCES ...] [WIDGETS])
# One executable for the tests of a folder, which saves linking and meta-object units. Each test is a class in <test>.cpp
# that ends with KOLTA_TEST(<class>); CTest runs it as a process of its own. Those listed under MESSAGING carry that label.
function(kolta_tests name)
    cmake_parse_arguments(ARG "WIDGETS" "" "LIBS;TESTS;MESSAGING;SOURCES" ${ARGN})
    set(tests ${ARG_TESTS} ${ARG_MESSAGING})
    list(TRANSFORM tests APPEND ".cpp" OUTPUT_VARIABLE sources)
    add_executable(${name} ${sources} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} kolta_test_support kolta_options)
    set(widgets)
    if(ARG_WIDGETS)
        set(widgets WIDGETS)
    endif()
    kolta_precompile(${name} TESTS ${widgets})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    foreach(test IN LISTS tests)
        set(labels)
        if(test IN_LIST ARG_MESSAGING)
            set(labels messaging)
        endif()
        kolta_register_test(${test} COMMAND ${name} ${test} LABELS "${labels}")
    endforeach()
endfunction()

# kolta_fuzz_target(<name> LIBS ... [SOURCES ...])
# The fuzz target in <name>.cpp, program fuzz_<name>, with seeds in corpus/<name>/ and, where it helps, words of the format
# in <name>.dict. With KOLTA_BUILD_FUZZ it searches by itself; otherwise it is a test that reruns the corpus and compares
# with outcomes/<name>, where there is one.
function(kolta_fuzz_target name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    set(program fuzz_${name})
    add_executable(${program} ${name}.cpp ${ARG_SOURCES})
    target_link_libraries(${program} PRIVATE ${ARG_LIBS} kolta_options)
    set_target_properties(${program} PROPERTIES AUTOMOC OFF RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    if(KOLTA_BUILD_FUZZ)
        target_link_options(${program} PRIVATE -fsanitize=fuzzer)
        add_dependencies(fuzz_targets ${program})
    else()
        target_sources(${program} PRIVATE rerun.cpp)
        set(outcomes "${CMAKE_CURRENT_SOURCE_DIR}/outcomes/${name}")
        if(EXISTS "${outcomes}")
            set(expectation --outcomes "${outcomes}")
        endif()
        add_test(NAME ${program} COMMAND ${program} ${expectation} "${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name}")
        set_tests_properties(${program} PROPERTIES TIMEOUT 120 ENVIRONMENT LC_ALL=C.UTF-8)
    endif()
endfunction()

# kolta_bench(<name> SOURCES ... LIBS ...)
# One Google Benchmark program with its own main(); `make bench` runs all of them.
function(kolta_bench name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    find_package(benchmark REQUIRED)
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} benchmark::benchmark kolta_options)
    target_compile_definitions(${name} PRIVATE
        KOLTA_INSTALLATION_DIR="${PROJECT_SOURCE_DIR}/share/installation")
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/benchmarks")
endfunction()
