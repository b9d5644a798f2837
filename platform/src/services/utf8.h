// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// UTF-8 (RFC 3629): without surrogates, and each character in its shortest form.
#ifndef PLATFORM_SRC_SERVICES_UTF8_H_
#define PLATFORM_SRC_SERVICES_UTF8_H_

#include <cstddef>
#include <string_view>

namespace HostPlatform {

// Offset of the first byte that is not UTF-8; the text's size if there is none.
std::size_t FindInvalidUtf8(std::string_view text);

// Writes a character, at most four bytes; returns the end.
char* AppendUtf8(char32_t code, char* to);

}  // namespace HostPlatform

#endif  // PLATFORM_SRC_SERVICES_UTF8_H_
