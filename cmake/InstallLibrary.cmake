# Installs a shared library with all that a program needs to be built on it: its headers, a pkg-config file, and a CMake
# package whose target is NAME::NAME. Of what the library links, REQUIRES names what its headers include.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

function(mero_install_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "HEADERS;DESCRIPTION;REQUIRES" "")
    set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${name})
    install(TARGETS ${name} EXPORT ${name} INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
    install(DIRECTORY ${arg_HEADERS}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

    configure_file(${PROJECT_SOURCE_DIR}/cmake/library.pc.in ${name}.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

    configure_file(${PROJECT_SOURCE_DIR}/cmake/Config.cmake.in ${name}Config.cmake @ONLY)
    write_basic_package_version_file(${name}ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}Config.cmake ${CMAKE_CURRENT_BINARY_DIR}/${name}ConfigVersion.cmake
        DESTINATION ${package_dir})
    install(EXPORT ${name} FILE ${name}Targets.cmake NAMESPACE ${name}:: DESTINATION ${package_dir})
endfunction()
