# `cmake --install`: the shared library, its headers, the dataflow program, the program
# `vlan-subintf` with its unit, manual page and completion, and what CMake and pkg-config need to find them. The result can be moved.

include(CMakePackageConfigHelpers)

# A folder of its own, by major version, since the includes begin with a name as common as platform/.
set(include_dir ${CMAKE_INSTALL_INCLUDEDIR}/VlanSubIntfConfigLib-${PROJECT_VERSION_MAJOR})
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VlanSubIntfConfigLib)

install(TARGETS VlanSubIntfConfigLib EXPORT VlanSubIntfConfigLibTargets
    INCLUDES DESTINATION ${include_dir})
if(TARGET vlan-subintf)
    install(TARGETS vlan-subintf)
    configure_file(packaging/vlan-subintf.service.in vlan-subintf.service @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/vlan-subintf.service DESTINATION lib/systemd/system)
    install(FILES packaging/vlan-subintf.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
    install(FILES packaging/vlan-subintf.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME vlan-subintf)
endif()
install(DIRECTORY platform VlanSubIntfConfigLib DESTINATION ${include_dir}
    FILES_MATCHING PATTERN *.h)
install(FILES VlanSubIntfConfigLib/VlanSubIntfConfigLib.dovra
    DESTINATION ${CMAKE_INSTALL_DATADIR}/VlanSubIntfConfigLib OPTIONAL)

install(EXPORT VlanSubIntfConfigLibTargets NAMESPACE VlanSubIntfConfigLib::
    DESTINATION ${package_dir})
configure_package_config_file(cmake/VlanSubIntfConfigLibConfig.cmake.in
    VlanSubIntfConfigLibConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(VlanSubIntfConfigLibConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/VlanSubIntfConfigLibConfig.cmake
    ${PROJECT_BINARY_DIR}/VlanSubIntfConfigLibConfigVersion.cmake
    DESTINATION ${package_dir})

set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pkgconfig_prefix
    ${CMAKE_INSTALL_PREFIX}/${pkgconfig_dir} ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/VlanSubIntfConfigLib.pc.in VlanSubIntfConfigLib.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/VlanSubIntfConfigLib.pc DESTINATION ${pkgconfig_dir})
