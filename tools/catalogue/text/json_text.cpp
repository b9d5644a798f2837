// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/text/json_text.h"

#include <cstdio>
#include <string_view>

#include "catalogue/text/base64_text.h"
#include "catalogue/text/terminal_text.h"
#include "catalogue/text/utf8.h"

namespace Quorctl {

using nlohmann::ordered_json;

namespace {

constexpr int kIndent = 2;

void AppendJsonEscape(std::string* text, char32_t codePoint) {
  char escape[16] = {};
  if (codePoint > 0xFFFF) {
    const unsigned offset = static_cast<unsigned>(codePoint) - 0x10000u;
    std::snprintf(escape, sizeof escape, "\\u%04x\\u%04x", 0xD800u + (offset >> 10),
                  0xDC00u + (offset & 0x3FFu));
  } else {
    std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(codePoint));
  }
  *text += escape;
}

// JSON allows some characters in strings that a terminal acts on. Beyond the line feeds of the
// layout such characters stand in strings only, so each may be written as an escape.
std::string SafeOnTerminal(std::string_view document) {
  std::string safe;
  safe.reserve(document.size() + 1);
  for (std::size_t position = 0; position < document.size();) {
    const DecodedCharacter character = DecodeCharacter(document, position);
    if (character.codePoint != '\n' && IsUnsafeOnTerminal(character.codePoint)) {
      AppendJsonEscape(&safe, character.codePoint);
    } else {
      safe += document.substr(position, character.length);
    }
    position += character.length;
  }
  return safe;
}

}  // namespace

ordered_json BytesAsJson(const std::string& bytes) {
  if (IsValidUtf8(bytes)) return bytes;
  return {{"base64", EncodeBase64(bytes)}};
}

std::string IndentedJson(const ordered_json& value) {
  return SafeOnTerminal(value.dump(kIndent));
}

std::string JsonOnOneLine(const ordered_json& value) {
  return SafeOnTerminal(value.dump());
}

}  // namespace Quorctl
