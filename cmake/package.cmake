# Debian packages with CPack (./dev package), one for each installation component. Only a tree that is configured for
# Debian's folders has them: -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INSTALL_LIBDIR=lib/TRIPLET.
if(NOT CMAKE_LIBRARY_ARCHITECTURE OR NOT TARGET lumipmi_tool OR
   NOT CMAKE_INSTALL_FULL_LIBDIR STREQUAL "/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}")
  return()
endif()

set(LUMIPMI_PACKAGE_MAINTAINER "lumipmi maintainers <maintainers@lumipmi.example>" CACHE STRING
    "Maintainer of the Debian packages")
set(CPACK_LUMIPMI_CROSS ${CMAKE_CROSSCOMPILING})
set(CPACK_LUMIPMI_BINARY_DIR ${PROJECT_BINARY_DIR})
set(CPACK_LUMIPMI_TRIPLET ${CMAKE_LIBRARY_ARCHITECTURE})
string(REGEX MATCH "^[0-9]+" CPACK_LUMIPMI_GCC ${CMAKE_CXX_COMPILER_VERSION})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # CPack puts it in front of each package's own
set(CPACK_DEBIAN_PACKAGE_SOURCE lumipmi)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${LUMIPMI_PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL aarch64)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
    WORLD_READ WORLD_EXECUTE)
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/package_depends.cmake)
set(CPACK_COMPONENTS_ALL runtime driver broker development tool)
set(version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})

# The changes, for every package. string(TIMESTAMP) takes SOURCE_DATE_EPOCH.
set(doc ${PROJECT_BINARY_DIR}/package)
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${doc}/changelog.Debian "lumipmi (${version}) unstable; urgency=medium\n\n"
     "  * Version ${PROJECT_VERSION}; its changes stand in changelog.gz.\n\n"
     " -- ${LUMIPMI_PACKAGE_MAINTAINER}  ${now}\n")
file(COPY_FILE CHANGELOG.md ${doc}/changelog)
execute_process(COMMAND gzip -9nf ${doc}/changelog ${doc}/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS CHANGELOG.md)

# Library packages also say what depends on them (shlibs) and have the loader's cache made anew (triggers); CPack's own
# way, CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS, would add scripts for that. CPack 3.25 knows no Multi-Arch field: it comes
# in on the section's line.
function(lumipmi_package component package section summary text)
  string(TOUPPER CPACK_DEBIAN_${component} prefix)
  set(${prefix}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(${prefix}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(${prefix}_DESCRIPTION "${summary}\n${text}" PARENT_SCOPE)
  if(section MATCHES "^lib")
    set(${prefix}_PACKAGE_SECTION "${section}\nMulti-Arch: same" PARENT_SCOPE)
  endif()
  if(section STREQUAL libs)
    string(REGEX REPLACE "1$" "" library ${package})
    file(WRITE ${doc}/${component}/shlibs "${library} 1 ${package} (>= ${PROJECT_VERSION})\n")
    file(WRITE ${doc}/${component}/triggers "activate-noawait ldconfig\n")
    set(${prefix}_PACKAGE_CONTROL_EXTRA ${doc}/${component}/shlibs ${doc}/${component}/triggers PARENT_SCOPE)
  endif()
  install(FILES ${doc}/changelog.gz ${doc}/changelog.Debian.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
          COMPONENT ${component})
endfunction()

lumipmi_package(runtime liblumipmi1 libs "IPMI library for management controllers"
"One C interface to a server's IPMI engine, for applications that run beside it
in the management controller: one function per IPMI command, plain records
that the caller owns, and a 32-bit status. It needs no C++ runtime, starts no
threads and keeps no hidden state.
.
It reaches the engine through a driver and a command broker, libraries of their
own that a platform may replace.")
lumipmi_package(driver liblumipmi-driver1 libs "IPMI library for management controllers - driver"
"The driver of liblumipmi: it carries IPMI requests to the management controller
through the kernel's /dev/ipmi0, over TCP to a simulator, or plays a recording.
.
A platform with a driver of its own ships a package that provides, conflicts
with and replaces this one, and brings liblumipmi-driver.so.1.")
lumipmi_package(broker liblumipmi-broker1 libs "IPMI library for management controllers - command broker"
"The command broker of liblumipmi, for controllers that have none: it translates
the frames of the hardware layer into IPMI commands.
.
A platform with a broker of its own ships a package that provides, conflicts
with and replaces this one, and brings liblumipmi-broker.so.1.")
lumipmi_package(development liblumipmi-dev libdevel "IPMI library for management controllers - development files"
"Headers, static libraries, pkg-config file and CMake package of liblumipmi, to
build applications that ask a server's IPMI engine, and drivers and brokers for
platforms.")
lumipmi_package(tool lumipmi admin "ask the management controller of a server over IPMI"
"Command-line tool for a server's IPMI engine: identity, sensors, event log,
inventory, power, boot, watchdog, network, users, serial over LAN and more, as
text, JSON or CSV, through the kernel's /dev/ipmi0 or to a simulator.")
set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS bash-completion)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "liblumipmi1 (= ${version}), liblumipmi-driver1 (= ${version}), liblumipmi-broker1 (= ${version}), libc6-dev")

set(installed "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}")
install(CODE "execute_process(COMMAND gzip -9nf \"${installed}/${CMAKE_INSTALL_MANDIR}/man1/lumipmi.1\"
  COMMAND_ERROR_IS_FATAL ANY)" COMPONENT tool)
install(CODE "if(CMAKE_INSTALL_DO_STRIP)  # CMake itself leaves archives alone
  file(GLOB archives \"${installed}/${CMAKE_INSTALL_LIBDIR}/liblumipmi*.a\")
  execute_process(COMMAND ${CMAKE_STRIP} --strip-debug -D \${archives} COMMAND_ERROR_IS_FATAL ANY)
endif()" COMPONENT development)
include(CPack)
