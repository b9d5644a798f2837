# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0

# The bill of materials: which version of which foreign software is in the libraries and programs, in
# CycloneDX's form, installed with the texts. Versions are those of the headers that the compiler finds.
# It has no date, so that a second build makes the same file.
find_package(CLI11 CONFIG REQUIRED)
find_package(nlohmann_json CONFIG REQUIRED)
find_package(yaml-cpp CONFIG REQUIRED)
set(YAML_CPP_VERSION ${yaml-cpp_VERSION})

set(probe ${CMAKE_CURRENT_BINARY_DIR}/documentation/materials.cpp)
file(WRITE ${probe} "#include <features.h>\n#include <linux/version.h>\n#include <version>\n#include <xxhash.h>\n")
separate_arguments(flags NATIVE_COMMAND "${CMAKE_CXX_FLAGS}")
list(APPEND flags -I${XXHASH_INCLUDE_DIR})
execute_process(COMMAND ${CMAKE_CXX_COMPILER} ${flags} -std=c++20 -E -dM ${probe}
                OUTPUT_VARIABLE macros COMMAND_ERROR_IS_FATAL ANY)

# Joins the values of macros by dots.
function(quor_version_of_macros variable)
  set(parts "")
  foreach(macro ${ARGN})
    if(NOT macros MATCHES "\n#define ${macro} \"?([0-9.]+)\"?\n")
      message(FATAL_ERROR "bill of materials: the headers do not define ${macro} as a number")
    endif()
    list(APPEND parts ${CMAKE_MATCH_1})
  endforeach()
  list(JOIN parts "." version)
  set(${variable} ${version} PARENT_SCOPE)
endfunction()
quor_version_of_macros(XXHASH_VERSION XXH_VERSION_MAJOR XXH_VERSION_MINOR XXH_VERSION_RELEASE)
quor_version_of_macros(GCC_VERSION _GLIBCXX_RELEASE)
quor_version_of_macros(GLIBC_VERSION __GLIBC__ __GLIBC_MINOR__)
quor_version_of_macros(LINUX_VERSION LINUX_VERSION_MAJOR LINUX_VERSION_PATCHLEVEL LINUX_VERSION_SUBLEVEL)

# libmd's headers do not tell.
cmake_path(GET MD_LIBRARY PARENT_PATH directory)
set(MD_VERSION unknown)
if(EXISTS ${directory}/pkgconfig/libmd.pc)
  file(STRINGS ${directory}/pkgconfig/libmd.pc line REGEX "^Version: ")
  string(REPLACE "Version: " "" MD_VERSION "${line}")
endif()

# What only the programs for many hosts have, where they are built.
set(FLEET_PROGRAMS "")
set(FLEET_NAMES "")
set(FLEET_DEPENDENCIES "")
set(FLEET_MATERIALS "")
if(TARGET quor-agent)
  set(materials "\"libpq\", \"libcrypto\", \"zlib\", \"cli11\", \"nlohmann-json\", \"gcc\", \"glibc\", \"linux\"")
  set(needs_quor-agent "\"libquor.so.1\", \"libquor-platform.so.1\", ${materials}")
  set(needs_quor-publish "\"libquor-platform.so.1\", \"yaml-cpp\", ${materials}")
  foreach(program quor-agent quor-publish)
    string(APPEND FLEET_PROGRAMS ",\n        { \"type\": \"application\", \"bom-ref\": \"${program}\", \
\"name\": \"${program}\", \"version\": \"${PROJECT_VERSION}\" }")
    string(APPEND FLEET_NAMES ", \"${program}\"")
    string(APPEND FLEET_DEPENDENCIES ",\n    { \"ref\": \"${program}\", \"dependsOn\": [${needs_${program}}] }")
  endforeach()
  foreach(material "libpq;${PostgreSQL_VERSION_STRING};PostgreSQL"
                   "libcrypto;${OPENSSL_VERSION};Apache-2.0" "zlib;${ZLIB_VERSION_STRING};Zlib")
    list(GET material 0 name)
    list(GET material 1 version)
    list(GET material 2 licence)
    string(APPEND FLEET_MATERIALS ",
    {
      \"type\": \"library\", \"bom-ref\": \"${name}\", \"name\": \"${name}\", \"version\": \"${version}\",
      \"description\": \"shared library\",
      \"licenses\": [{ \"license\": { \"id\": \"${licence}\" } }],
      \"purl\": \"pkg:generic/${name}@${version}\"
    }")
  endforeach()
endif()

configure_file(packaging/bill-of-materials.json.in documentation/quor.cdx.json @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/documentation/quor.cdx.json
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
