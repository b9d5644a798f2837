// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/text/json_text.h"

#include <algorithm>
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
void AppendSafeOnTerminal(std::string_view document, std::size_t indentation, std::string* safe) {
  const auto isPlain = [](char byte) { return byte >= ' ' && byte <= '~'; };
  for (std::size_t position = 0; position < document.size();) {
    const auto* const begin = document.data() + position;
    const auto* const end = std::find_if_not(begin, document.data() + document.size(), isPlain);
    safe->append(begin, end);
    position += static_cast<std::size_t>(end - begin);
    if (position == document.size()) return;
    const DecodedCharacter character = DecodeCharacter(document, position);
    if (character.codePoint != '\n' && IsUnsafeOnTerminal(character.codePoint)) {
      AppendJsonEscape(safe, character.codePoint);
    } else {
      safe->append(document, position, character.length);
      if (character.codePoint == '\n') safe->append(indentation, ' ');
    }
    position += character.length;
  }
}

}  // namespace

ordered_json BytesAsJson(const std::string& bytes) {
  if (IsValidUtf8(bytes)) return bytes;
  return {{"base64", EncodeBase64(bytes)}};
}

void AppendIndentedJson(const ordered_json& value, std::size_t indentation, std::string* text) {
  AppendSafeOnTerminal(value.dump(kIndent), indentation, text);
}

std::string IndentedJson(const ordered_json& value) {
  std::string text;
  AppendIndentedJson(value, 0, &text);
  return text;
}

std::string JsonOnOneLine(const ordered_json& value) {
  std::string text;
  AppendSafeOnTerminal(value.dump(), 0, &text);
  return text;
}

}  // namespace Quorctl
