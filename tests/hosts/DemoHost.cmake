# The stand-in for an editing application: for the tests, and installed for trying the native flow.
pkg_check_modules(SYSTEMD REQUIRED IMPORTED_TARGET libsystemd)

add_executable(reelsweep-demo-host
    ${CMAKE_CURRENT_LIST_DIR}/DemoHost.cpp ${CMAKE_CURRENT_LIST_DIR}/DemoHost.h
    ${CMAKE_CURRENT_LIST_DIR}/HostProjects.cpp ${CMAKE_CURRENT_LIST_DIR}/HostProjects.h)
target_link_libraries(reelsweep-demo-host PRIVATE
    reelsweep_xml reelsweep_platform PkgConfig::SYSTEMD reelsweep_flags)
install(TARGETS reelsweep-demo-host COMPONENT programs)
