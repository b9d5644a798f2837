// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/text/terminal_text.h"

#include <cstdio>

#include "catalogue/text/utf8.h"

namespace Quorctl {
namespace {

constexpr std::size_t kLongestQuote = 64;  // characters

void AppendEscape(std::string* text, char32_t codePoint) {
  char escape[16] = {};
  const char* const format = codePoint <= 0xFF ? "\\x%02x" : "\\u%04x";
  std::snprintf(escape, sizeof escape, format, static_cast<unsigned>(codePoint));
  *text += escape;
}

}  // namespace

bool IsUnsafeOnTerminal(char32_t codePoint) {
  if (IsControlCharacter(codePoint)) return true;
  switch (codePoint) {
    case 0x00AD:  // soft hyphen
    case 0x061C:  // Arabic letter mark
    case 0x180E:  // vowel separator
    case 0x200B:  // zero-width space
    case 0xFEFF:  // byte-order mark
      return true;
    default:
      return (codePoint >= 0x200E && codePoint <= 0x200F) ||  // direction marks
             (codePoint >= 0x2028 && codePoint <= 0x202E) ||  // separators, overrides
             (codePoint >= 0x2060 && codePoint <= 0x206F) ||  // invisible operators, isolates
             (codePoint >= 0xFFF9 && codePoint <= 0xFFFB) ||  // annotations
             (codePoint >= 0xE0000 && codePoint <= 0xE007F);  // tags
  }
}

std::string EscapeForTerminal(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    const DecodedCharacter character = DecodeCharacter(text, position);
    if (!character.valid || IsUnsafeOnTerminal(character.codePoint)) {
      AppendEscape(&escaped, character.codePoint);
    } else {
      escaped += text.substr(position, character.length);
    }
    position += character.length;
  }
  return escaped;
}

std::string EscapeCell(std::string_view text) {
  std::string doubled;
  doubled.reserve(text.size());
  for (const char byte : text) {
    doubled += byte;
    if (byte == '\\') doubled += byte;
  }
  return EscapeForTerminal(doubled);
}

std::string Quoted(std::string_view text) {
  std::size_t end = 0;
  for (std::size_t count = 0; end < text.size() && count < kLongestQuote; ++count) {
    end += DecodeCharacter(text, end).length;
  }
  return '"' + EscapeForTerminal(text.substr(0, end)) + (end < text.size() ? "\"..." : "\"");
}

}  // namespace Quorctl
