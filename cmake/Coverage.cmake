# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0

# Counts which lines and branches of the two libraries are run; scripts/coverage tells what came out.
# Tests and tools are not counted.
foreach(objects quor_objects quor_platform_objects)
  if(TARGET ${objects})
    target_compile_options(${objects} PRIVATE --coverage -fprofile-update=atomic)
  endif()
endforeach()
target_link_options(quor_build_flags INTERFACE --coverage)

add_library(exit_with_counts MODULE tests/coverage/exit_with_counts.cpp)
set_target_properties(exit_with_counts PROPERTIES CXX_VISIBILITY_PRESET default)
