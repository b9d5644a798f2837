# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0

# The bill of materials: which version of which foreign software is in the libraries and in quorctl, in
# CycloneDX's form, installed with the texts. Versions are those of the headers that the compiler finds.
# It has no date, so that a second build makes the same file.
find_package(CLI11 CONFIG REQUIRED)
find_package(nlohmann_json CONFIG REQUIRED)
find_package(yaml-cpp CONFIG REQUIRED)
set(YAML_CPP_VERSION ${yaml-cpp_VERSION})

set(probe ${CMAKE_CURRENT_BINARY_DIR}/documentation/materials.cpp)
file(WRITE ${probe} "#include <features.h>\n#include <linux/version.h>\n#include <simdjson.h>\n#include <xxhash.h>\n")
separate_arguments(flags NATIVE_COMMAND "${CMAKE_CXX_FLAGS}")
foreach(directory ${XXHASH_INCLUDE_DIR} ${SIMDJSON_INCLUDE_DIR})
  list(APPEND flags -I${directory})
endforeach()
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
quor_version_of_macros(SIMDJSON_VERSION SIMDJSON_VERSION)
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

configure_file(packaging/bill-of-materials.json.in documentation/quor.cdx.json @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/documentation/quor.cdx.json
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
