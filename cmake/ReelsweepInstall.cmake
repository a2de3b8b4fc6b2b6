# What is installed, and the Debian packages: the programs, and the library as a CMake package.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The programs
install(TARGETS reelsweep-cli COMPONENT programs)
install(FILES ${CMAKE_SOURCE_DIR}/resources/man/reelsweep-cli.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT programs)
install(FILES ${CMAKE_SOURCE_DIR}/resources/completion/reelsweep-cli
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT programs)
if(REELSWEEP_APP)
    set(desktop ${CMAKE_SOURCE_DIR}/resources/desktop/com.quorvane.Reelsweep)
    install(TARGETS reelsweep COMPONENT programs)
    install(FILES ${CMAKE_SOURCE_DIR}/resources/man/reelsweep.1
            DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT programs)
    install(FILES ${desktop}.desktop
            DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT programs)
    install(FILES ${desktop}.metainfo.xml
            DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT programs)
    install(FILES ${desktop}.mime.xml RENAME com.quorvane.Reelsweep.xml
            DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages COMPONENT programs)
    install(FILES ${CMAKE_SOURCE_DIR}/resources/images/com.quorvane.Reelsweep.svg
            DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps COMPONENT programs)
endif()

# The Python package, for Debian's interpreter
if(TARGET reelsweep_python)
    install(TARGETS reelsweep_python
            LIBRARY DESTINATION lib/python3/dist-packages/reelsweep COMPONENT python)
    install(DIRECTORY ${CMAKE_SOURCE_DIR}/python/reelsweep/
            DESTINATION lib/python3/dist-packages/reelsweep COMPONENT python
            FILES_MATCHING PATTERN "*.py" PATTERN "*.pyi" PATTERN py.typed)
    install(DIRECTORY ${CMAKE_SOURCE_DIR}/examples/
            DESTINATION share/doc/python3-reelsweep/examples COMPONENT python
            FILES_MATCHING PATTERN "*.py")
endif()

# The library: find_package(Reelsweep), Reelsweep::reelsweep. What stands on the ports is the
# component "shell", since it needs many more libraries: Reelsweep::reelsweep_shell and, for a
# program that has no ports of its own, Reelsweep::reelsweep_platform_posix.
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/Reelsweep)
set(header_folder ${CMAKE_INSTALL_INCLUDEDIR}/reelsweep)
list(TRANSFORM shell_layers PREPEND reelsweep_ OUTPUT_VARIABLE shell_targets)
install(TARGETS reelsweep_library ${library_targets} EXPORT ReelsweepTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library
        INCLUDES DESTINATION ${header_folder})
install(TARGETS ${shell_targets} reelsweep_platform_posix EXPORT ReelsweepShellTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT shell
        INCLUDES DESTINATION ${header_folder})
list(TRANSFORM library_layers PREPEND ${CMAKE_SOURCE_DIR}/ OUTPUT_VARIABLE library_folders)
list(TRANSFORM shell_layers PREPEND ${CMAKE_SOURCE_DIR}/ OUTPUT_VARIABLE shell_folders)
install(DIRECTORY ${library_folders} DESTINATION ${header_folder} COMPONENT library
        FILES_MATCHING PATTERN "*.h" PATTERN "*.inc")
install(DIRECTORY ${shell_folders} DESTINATION ${header_folder} COMPONENT shell
        FILES_MATCHING PATTERN "*.h" PATTERN qt EXCLUDE)
install(EXPORT ReelsweepTargets NAMESPACE Reelsweep::
        DESTINATION ${package_folder} COMPONENT library)
install(EXPORT ReelsweepShellTargets NAMESPACE Reelsweep::
        DESTINATION ${package_folder} COMPONENT shell)
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/ReelsweepConfig.cmake.in
    ${CMAKE_BINARY_DIR}/ReelsweepConfig.cmake INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/ReelsweepConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/ReelsweepConfig.cmake
              ${CMAKE_BINARY_DIR}/ReelsweepConfigVersion.cmake
        DESTINATION ${package_folder} COMPONENT library)

# The Debian packages: reelsweep, python3-reelsweep, libreelsweep-dev and libreelsweep-shell-dev
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR Quorvane)
set(CPACK_PACKAGE_CONTACT "Reelsweep maintainers <maintainers@reelsweep.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL programs library shell)
if(TARGET reelsweep_python)
    list(APPEND CPACK_COMPONENTS_ALL python)
endif()
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_COMPONENT_PROGRAMS_DESCRIPTION
    "Opens timelines that editing systems export as XMEML or FCPXML and makes
tidied copies of their sequences, in windows or from the command line.")
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_NAME reelsweep)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SHLIBDEPS ON)
if(REELSWEEP_APP)
    # The icons' plugin is loaded by name, so no program is linked to it.
    set(CPACK_DEBIAN_PROGRAMS_PACKAGE_DEPENDS "libqt6svg6")
endif()
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
    "The engine of Reelsweep as a static library with headers and a CMake package.")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libreelsweep-dev)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "libpugixml-dev, libexpat1-dev")
set(CPACK_COMPONENT_PYTHON_DESCRIPTION
    "The engine of Reelsweep as a Python module, for pipelines.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-reelsweep)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
# The module is for the version of the interpreter that it was built with.
if(TARGET reelsweep_python)
    string(REGEX REPLACE "^3\\.([0-9]+).*" "\\1" minor ${REELSWEEP_PYTHON_VERSION})
    math(EXPR next "${minor} + 1")
    set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.${minor}~), python3 (<< 3.${next}~)")
endif()
set(CPACK_COMPONENT_SHELL_DESCRIPTION
    "The documents, services and bridges to editing applications of the programs
of Reelsweep as static libraries with headers.")
set(CPACK_DEBIAN_SHELL_PACKAGE_NAME libreelsweep-shell-dev)
set(CPACK_DEBIAN_SHELL_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_SHELL_PACKAGE_DEPENDS
    "libreelsweep-dev (= ${PROJECT_VERSION})" libplist-dev libarchive-dev libcurl4-openssl-dev
    libssl-dev libsystemd-dev pkg-config)
list(JOIN CPACK_DEBIAN_SHELL_PACKAGE_DEPENDS ", " CPACK_DEBIAN_SHELL_PACKAGE_DEPENDS)
include(CPack)
