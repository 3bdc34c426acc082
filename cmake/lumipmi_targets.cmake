# Compile flags and the two library targets.
#
#   lumipmi_objects   the library's own objects; each folder adds its sources
#   lumipmi           liblumipmi.so.1 (exports by version script, linked with the C driver)
#   lumipmi_static    liblumipmi.a
#   lumipmi_driver    liblumipmi-driver.so.1, see drivers/
#   lumipmi_broker    liblumipmi-broker.so.1, see broker/

add_library(lumipmi_warnings INTERFACE)
target_compile_options(lumipmi_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(LUMIPMI_WERROR)
  target_compile_options(lumipmi_warnings INTERFACE -Werror)
endif()

if(LUMIPMI_SANITIZE)
  add_compile_options(-fsanitize=${LUMIPMI_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${LUMIPMI_SANITIZE})
endif()

if(LUMIPMI_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()

# What may go into a library that we install: no exceptions, no RTTI, nothing that needs the C++ runtime.
add_library(lumipmi_freestanding INTERFACE)
target_link_libraries(lumipmi_freestanding INTERFACE lumipmi_warnings)
target_compile_options(lumipmi_freestanding INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics -fvisibility-inlines-hidden>
  -fvisibility=hidden -fno-semantic-interposition -ffp-contract=off -fno-asynchronous-unwind-tables)

add_library(lumipmi_headers INTERFACE)
target_include_directories(lumipmi_headers INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)

# What defines the two imported functions: the platform's own libraries or ours.
set(lumipmi_driver_library lumipmi_driver)
if(LUMIPMI_DRIVER_LIBRARY)
  set(lumipmi_driver_library ${LUMIPMI_DRIVER_LIBRARY})
endif()
set(lumipmi_broker_library lumipmi_broker)
if(LUMIPMI_BROKER_LIBRARY)
  set(lumipmi_broker_library ${LUMIPMI_BROKER_LIBRARY})
endif()

add_library(lumipmi_objects OBJECT)
target_link_libraries(lumipmi_objects PRIVATE lumipmi_freestanding PUBLIC lumipmi_headers)
target_include_directories(lumipmi_objects PRIVATE ${PROJECT_SOURCE_DIR})

function(lumipmi_link_library)
  find_package(Threads REQUIRED)
  add_library(lumipmi SHARED $<TARGET_OBJECTS:lumipmi_objects>)
  add_library(lumipmi_static STATIC $<TARGET_OBJECTS:lumipmi_objects>)
  set_target_properties(lumipmi PROPERTIES
    LINKER_LANGUAGE C  # proves that no C++ runtime is needed
    SOVERSION 1 VERSION 1.0.0
    LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/lumipmi.map)
  set_target_properties(lumipmi_static PROPERTIES OUTPUT_NAME lumipmi EXPORT_NAME lumipmi-static)
  set_target_properties(lumipmi lumipmi_static PROPERTIES LINKER_LANGUAGE C)
  target_link_options(lumipmi PRIVATE
    -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/lumipmi.map -Wl,-Bsymbolic -Wl,--as-needed)
  if(NOT LUMIPMI_SANITIZE)
    target_link_options(lumipmi PRIVATE -Wl,-z,defs)
  endif()
  foreach(target lumipmi lumipmi_static)
    target_link_libraries(${target} PUBLIC lumipmi_headers PRIVATE Threads::Threads m ${CMAKE_DL_LIBS})
  endforeach()
  target_link_libraries(lumipmi PRIVATE ${lumipmi_broker_library} ${lumipmi_driver_library})
endfunction()
