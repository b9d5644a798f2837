// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// How quorctl writes JSON.
#ifndef TOOLS_CATALOGUE_TEXT_JSON_TEXT_H_
#define TOOLS_CATALOGUE_TEXT_JSON_TEXT_H_

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>

namespace Quorctl {

// A byte string: a JSON string, or {"base64": "..."} for one that is not UTF-8.
nlohmann::ordered_json BytesAsJson(const std::string& bytes);

// The value as text that is safe to show on a terminal: indented over several lines, or on one
// line. No line feed at the end. Strings in it must be UTF-8.
std::string IndentedJson(const nlohmann::ordered_json& value);
std::string JsonOnOneLine(const nlohmann::ordered_json& value);

// Appends the indented text, with so many spaces more before each line but the first.
void AppendIndentedJson(const nlohmann::ordered_json& value, std::size_t indentation,
                        std::string* text);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_TEXT_JSON_TEXT_H_
