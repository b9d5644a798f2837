# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0

# Flags of every target of this project; a program that uses the library sees none of them.
add_library(quor_build_flags INTERFACE)
target_compile_options(quor_build_flags INTERFACE
  # The same bytes wherever it is built; the later option holds where both fit.
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=.
  -fno-semantic-interposition  # nobody replaces single functions of ours: calls may be inlined
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast
  $<$<BOOL:${QUOR_WERROR}>:-Werror>)
# Files beyond 2 GiB, inodes beyond 32 bits and times after 2038, also where a long has 32 bits. For
# all targets at once: a `struct stat` passes between them.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  add_compile_definitions(_FILE_OFFSET_BITS=64 _TIME_BITS=64)
  # How blocks of bytes pass between functions matters to no one else: those are inline.
  target_compile_options(quor_build_flags INTERFACE -Wno-psabi)
endif()
target_link_options(quor_build_flags INTERFACE -Wl,-z,relro,-z,now -Wl,-z,noexecstack)

if(QUOR_SANITIZE)
  target_compile_options(quor_build_flags INTERFACE
    -fsanitize=${QUOR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(quor_build_flags INTERFACE -fsanitize=${QUOR_SANITIZE})
else()
  # Calls within a library go straight to their function.
  target_link_options(quor_build_flags INTERFACE -Wl,--no-undefined -Wl,-Bsymbolic-functions)
  target_compile_options(quor_build_flags INTERFACE -fstack-protector-strong)

  # The C library's checked calls: it refuses them where nothing is optimised, and the level that a
  # distribution chose is left as it is. Asked anew each time, since the flags may have changed.
  include(CheckCXXSourceCompiles)
  string(TOUPPER "${CMAKE_BUILD_TYPE}" build_type)
  set(CMAKE_REQUIRED_FLAGS "${CMAKE_CXX_FLAGS_${build_type}}")
  unset(QUOR_CHOOSES_FORTIFY_LEVEL CACHE)
  check_cxx_source_compiles("
    #if defined(_FORTIFY_SOURCE) || !defined(__OPTIMIZE__)
    #error
    #endif
    int main() {}" QUOR_CHOOSES_FORTIFY_LEVEL)
  unset(CMAKE_REQUIRED_FLAGS)
  if(QUOR_CHOOSES_FORTIFY_LEVEL)
    target_compile_options(quor_build_flags INTERFACE -D_FORTIFY_SOURCE=2)
  endif()
endif()
