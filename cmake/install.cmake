# What `cmake --install` puts where. The tree may be moved afterwards: programs and libraries find one another through
# $ORIGIN, the pkg-config files through their own place, the CMake package through CMake.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ipv6_rib)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH lib_from_bin ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH prefix_from_pc ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})

set_target_properties(ipv6_rib rib_platform PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(ribd ribctl PROPERTIES INSTALL_RPATH "$ORIGIN/${lib_from_bin}")

install(TARGETS ipv6_rib rib_platform EXPORT ipv6_rib_targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS ribd ribctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY include/ipv6_rib platform/include/platform
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

foreach(module ipv6_rib rib_platform)
    configure_file(cmake/${module}.pc.in ${CMAKE_BINARY_DIR}/${module}.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/${module}.pc DESTINATION ${pkgconfig_dir})
endforeach()

install(EXPORT ipv6_rib_targets NAMESPACE ipv6_rib:: DESTINATION ${package_dir} FILE ipv6_rib-targets.cmake)
configure_package_config_file(cmake/ipv6_rib-config.cmake.in ${CMAKE_BINARY_DIR}/ipv6_rib-config.cmake
    INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/ipv6_rib-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/ipv6_rib-config.cmake ${CMAKE_BINARY_DIR}/ipv6_rib-config-version.cmake
    DESTINATION ${package_dir})

# The unit names the program by its full path, which is known when it is installed.
set(unit_dir lib/systemd/system)
install(FILES packaging/ribd.socket DESTINATION ${unit_dir})
install(FILES docs/ribd.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(CODE "
    set(bindir \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\")
    set(docdir \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DOCDIR}\")
    configure_file(${CMAKE_SOURCE_DIR}/packaging/ribd.service.in
        \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${unit_dir}/ribd.service\" @ONLY)")
