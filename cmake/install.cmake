# Installed files: libraries, headers, pkg-config file, CMake package, tool with its manual page.
include(CMakePackageConfigHelpers)

set(LUMIPMI_INSTALL_CMAKE ${CMAKE_INSTALL_LIBDIR}/cmake/lumipmi)

# The components are the packages of package.cmake: a platform may replace the driver and the broker.
install(TARGETS lumipmi EXPORT lumipmi
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(TARGETS lumipmi_driver EXPORT lumipmi
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT driver NAMELINK_COMPONENT development)
install(TARGETS lumipmi_broker EXPORT lumipmi
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT broker NAMELINK_COMPONENT development)
install(TARGETS lumipmi_static lumipmi_driver_static lumipmi_broker_static lumipmi_headers EXPORT lumipmi
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY include/lumipmi DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
        FILES_MATCHING PATTERN "*.h")
install(EXPORT lumipmi NAMESPACE lumipmi:: DESTINATION ${LUMIPMI_INSTALL_CMAKE} FILE lumipmi-targets.cmake
        COMPONENT development)
configure_package_config_file(cmake/lumipmi-config.cmake.in lumipmi-config.cmake
  INSTALL_DESTINATION ${LUMIPMI_INSTALL_CMAKE})
write_basic_package_version_file(lumipmi-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/lumipmi-config.cmake ${PROJECT_BINARY_DIR}/lumipmi-config-version.cmake
        DESTINATION ${LUMIPMI_INSTALL_CMAKE} COMPONENT development)
# Relative to the file, so that a tree installed with another prefix works where it lies.
file(RELATIVE_PATH LUMIPMI_PC_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/lumipmi.pc.in lumipmi.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/lumipmi.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
if(TARGET lumipmi_tool)
  install(TARGETS lumipmi_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
  install(FILES docs/lumipmi.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
  install(FILES tools/lumipmi.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
          COMPONENT tool RENAME lumipmi)
endif()
