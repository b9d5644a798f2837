// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "text/yaml_text.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "catalogue/text/terminal_text.h"
#include "catalogue/text/utf8.h"

namespace Quorctl {

using nlohmann::ordered_json;

namespace {

constexpr std::size_t kIndent = 2;

bool IsLetter(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

// True if a YAML 1.1 or 1.2 reader would take the plain scalar for something other than a string.
bool IsKeyword(const std::string& text) {
  constexpr std::array<const char*, 9> kKeywords = {"true", "false", "null", "yes", "no",
                                                    "on",   "off",   "y",    "n"};
  return std::any_of(kKeywords.begin(), kKeywords.end(), [&text](const char* keyword) {
    return strcasecmp(keyword, text.c_str()) == 0;
  });
}

// Not all strings that may stand without quotation marks, but the usual ones.
bool IsPlain(const std::string& text) {
  if (text.empty() || !IsLetter(text.front()) || IsKeyword(text)) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char next = i + 1 < text.size() ? text[i + 1] : ' ';
    const bool isInner = (text[i] == ' ' || text[i] == ':') && next != ' ';
    const bool isDigit = text[i] >= '0' && text[i] <= '9';
    if (!IsLetter(text[i]) && !isDigit && !isInner && !std::strchr("_./+-", text[i])) return false;
  }
  return true;
}

// Several lines that a block keeps as they are: it ends with one line feed or none.
bool IsBlock(std::string_view text) {
  if (text.find('\n') == text.npos || text.front() == '\n' || text.front() == ' ') return false;
  if (text.size() > 1 && text.substr(text.size() - 2) == "\n\n") return false;
  for (std::size_t position = 0; position < text.size();) {
    const DecodedCharacter character = DecodeCharacter(text, position);
    if (character.codePoint != '\n' && IsUnsafeOnTerminal(character.codePoint)) return false;
    position += character.length;
  }
  return true;
}

std::string InYamlQuotes(std::string_view text) {
  std::string quoted = "\"";
  for (std::size_t position = 0; position < text.size();) {
    const DecodedCharacter character = DecodeCharacter(text, position);
    const std::string_view bytes = text.substr(position, character.length);
    position += character.length;
    char escape[16] = {};
    if (bytes == "\"" || bytes == "\\") {
      quoted += '\\';
      quoted += bytes;
    } else if (bytes == "\n") {
      quoted += "\\n";
    } else if (IsUnsafeOnTerminal(character.codePoint)) {
      std::snprintf(escape, sizeof escape, "\\U%08x", static_cast<unsigned>(character.codePoint));
      quoted += escape;
    } else {
      quoted += bytes;
    }
  }
  return quoted + '"';
}

std::string AsBlock(const std::string& text, std::size_t indent) {
  const bool endsLine = text.back() == '\n';
  std::string block = endsLine ? "|\n" : "|-\n";
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    if (end > begin) block += std::string(indent, ' ') + text.substr(begin, end - begin);
    block += '\n';
    begin = end + 1;
  }
  return block;
}

// Each begins on the line of its key or dash, and ends its last line.
void AppendValue(const ordered_json& value, std::size_t indent, std::string* yaml);

void AppendMembers(const ordered_json& object, std::size_t indent, bool onLine, std::string* yaml) {
  for (const auto& [key, value] : object.items()) {
    if (!onLine) *yaml += std::string(indent, ' ');
    onLine = false;
    *yaml += key + ':';
    AppendValue(value, indent + kIndent, yaml);
  }
}

void AppendElements(const ordered_json& array, std::size_t indent, std::string* yaml) {
  for (const ordered_json& element : array) {
    *yaml += std::string(indent, ' ') + '-';
    if (element.is_object() && !element.empty()) {
      *yaml += ' ';
      AppendMembers(element, indent + kIndent, /*onLine=*/true, yaml);
    } else {
      AppendValue(element, indent + kIndent, yaml);
    }
  }
}

void AppendValue(const ordered_json& value, std::size_t indent, std::string* yaml) {
  if (value.is_structured() && !value.empty()) {
    *yaml += '\n';
    if (value.is_array()) {
      AppendElements(value, indent, yaml);
    } else {
      AppendMembers(value, indent, /*onLine=*/false, yaml);
    }
  } else if (value.is_string()) {
    const auto& text = value.get_ref<const std::string&>();
    *yaml += ' ';
    *yaml +=
        IsBlock(text) ? AsBlock(text, indent) : (IsPlain(text) ? text : InYamlQuotes(text)) + '\n';
  } else {
    *yaml += ' ' + value.dump() + '\n';
  }
}

}  // namespace

std::string AsYaml(const ordered_json& value) {
  std::string yaml;
  if (value.empty()) {
    yaml = value.dump() + '\n';
  } else if (value.is_array()) {
    AppendElements(value, 0, &yaml);
  } else {
    AppendMembers(value, 0, /*onLine=*/false, &yaml);
  }
  return yaml;
}

}  // namespace Quorctl
