# The package files for find_package(KoltaCommon) and pkg-config. All else that is installed is named where it is defined.
include(CMakePackageConfigHelpers)

set(kolta_cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/KoltaCommon")
install(EXPORT KoltaCommonTargets NAMESPACE Kolta:: DESTINATION "${kolta_cmake_dir}")
get_property(kolta_components GLOBAL PROPERTY KOLTA_COMPONENTS)
foreach(component IN LISTS kolta_components)
    install(EXPORT Kolta${component}Targets NAMESPACE Kolta:: DESTINATION "${kolta_cmake_dir}" COMPONENT ${component})
endforeach()

set(kolta_static_packages "")
set(kolta_static_requires "")
if(NOT BUILD_SHARED_LIBS)
    kolta_static_dependency("Qt5 5.15 COMPONENTS Script" "Qt5Script >= 5.15")
    get_property(packages GLOBAL PROPERTY KOLTA_STATIC_PACKAGES)
    foreach(package IN LISTS packages)
        string(APPEND kolta_static_packages "find_dependency(${package})\n")
    endforeach()
    get_property(modules GLOBAL PROPERTY KOLTA_STATIC_MODULES)
    list(JOIN modules " " kolta_static_requires)
endif()
configure_package_config_file(cmake/KoltaCommonConfig.cmake.in "${PROJECT_BINARY_DIR}/KoltaCommonConfig.cmake"
    INSTALL_DESTINATION "${kolta_cmake_dir}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/KoltaCommonConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/KoltaCommonConfig.cmake"
    "${PROJECT_BINARY_DIR}/KoltaCommonConfigVersion.cmake"
    DESTINATION "${kolta_cmake_dir}")

# The users of a library stand before it on a linker's command line, so the list of definitions is turned round.
get_property(kolta_libraries GLOBAL PROPERTY KOLTA_INSTALLED_LIBRARIES)
list(REVERSE kolta_libraries)
list(TRANSFORM kolta_libraries PREPEND "-l")
list(JOIN kolta_libraries " " kolta_link_flags)
file(RELATIVE_PATH kolta_pc_to_prefix "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
configure_file(cmake/koltacommon.pc.in "${PROJECT_BINARY_DIR}/koltacommon.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/koltacommon.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
