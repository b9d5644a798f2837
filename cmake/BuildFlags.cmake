# Flags of every target of this project; a program that uses the library sees none of them.
add_library(quor_build_flags INTERFACE)
target_compile_options(quor_build_flags INTERFACE
  # The same bytes wherever it is built; the later option holds where both fit.
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=.
  -fno-semantic-interposition  # nobody replaces single functions of ours: calls may be inlined
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast
  $<$<BOOL:${QUOR_WERROR}>:-Werror>)
target_link_options(quor_build_flags INTERFACE -Wl,-z,relro,-z,now -Wl,-z,noexecstack)

if(QUOR_SANITIZE)
  target_compile_options(quor_build_flags INTERFACE
    -fsanitize=${QUOR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(quor_build_flags INTERFACE -fsanitize=${QUOR_SANITIZE})
else()
  # Calls within a library go straight to their function.
  target_link_options(quor_build_flags INTERFACE -Wl,--no-undefined -Wl,-Bsymbolic-functions)
  target_compile_options(quor_build_flags INTERFACE -fstack-protector-strong
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
endif()
