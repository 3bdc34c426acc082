# Read by cpack before it packs: what the built libraries and the tool depend on, from dpkg-shlibdeps.
#
# The packages of a cross build come from this machine: its cross compiler's libc6-arm64-cross tells the version of
# libc6, and its libstdc++ is as old as the compiler. Nothing of the other architecture has to be installed.
set(dir ${CPACK_LUMIPMI_BINARY_DIR}/package/depends)
set(shlibs "liblumipmi 1 liblumipmi1 (>= ${CPACK_PACKAGE_VERSION})\n"
    "liblumipmi-driver 1 liblumipmi-driver1\nliblumipmi-broker 1 liblumipmi-broker1\n")
set(options)
foreach(part . drivers broker)
  list(APPEND options -l${CPACK_LUMIPMI_BINARY_DIR}/${part})
endforeach()
if(CPACK_LUMIPMI_CROSS)
  list(APPEND shlibs "libstdc++ 6 libstdc++6 (>= ${CPACK_LUMIPMI_GCC})\nlibgcc_s 1 libgcc-s1 (>= 4.2)\n")
  list(APPEND options -l/usr/${CPACK_LUMIPMI_TRIPLET}/lib)
endif()
file(WRITE ${dir}/debian/control "")
file(WRITE ${dir}/debian/shlibs.local ${shlibs})

foreach(pair RUNTIME:liblumipmi.so DRIVER:drivers/liblumipmi-driver.so BROKER:broker/liblumipmi-broker.so
             TOOL:tools/lumipmi)
  string(REPLACE ":" ";" pair ${pair})
  list(GET pair 0 component)
  list(GET pair 1 file)
  execute_process(
    COMMAND ${CMAKE_COMMAND} -E env DEB_HOST_ARCH=${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}
            dpkg-shlibdeps -O ${options} ${CPACK_LUMIPMI_BINARY_DIR}/${file}
    WORKING_DIRECTORY ${dir} RESULT_VARIABLE failed OUTPUT_VARIABLE depends ERROR_VARIABLE error
    OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(failed)
    message(FATAL_ERROR "dpkg-shlibdeps: ${failed}\n${error}")
  endif()
  string(REPLACE "shlibs:Depends=" "" depends "${depends}")
  string(REPLACE ":${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}" "" depends "${depends}")
  set(CPACK_DEBIAN_${component}_PACKAGE_DEPENDS "${depends}")
endforeach()
