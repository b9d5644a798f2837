// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// UTF-8, strictly: no overlong forms, no surrogates, nothing above U+10FFFF.
#ifndef TOOLS_CATALOGUE_TEXT_UTF8_H_
#define TOOLS_CATALOGUE_TEXT_UTF8_H_

#include <cstddef>
#include <string_view>

namespace Quorctl {

struct DecodedCharacter {
  bool valid;          // false: the byte is no part of a well-formed character
  char32_t codePoint;  // the byte's value when not valid
  std::size_t length;  // bytes; 1 when not valid
};

// The character that begins at `position`, which is less than the size of `text`.
DecodedCharacter DecodeCharacter(std::string_view text, std::size_t position);

bool IsValidUtf8(std::string_view text);

// C0 and C1 controls and DEL.
bool IsControlCharacter(char32_t codePoint);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_TEXT_UTF8_H_
