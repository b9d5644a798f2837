// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "yaml_document.h"

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/mark.h>
#include <yaml-cpp/parser.h>

#include <cstdio>
#include <sstream>
#include <string_view>
#include <vector>

#include "catalogue/document_error.h"
#include "input_file.h"

namespace Quorctl {
namespace {

constexpr char kNoKey[] = "a key is to be text";

std::string Position(const YAML::Mark& mark) {
  if (mark.is_null()) return "";
  return "line " + std::to_string(mark.line + 1) + ", column " + std::to_string(mark.column + 1);
}

// Bytes that are no UTF-8 stay, for the reader of the JSON to tell.
std::string InJsonQuotes(const std::string& text) {
  std::string quoted = "\"";
  for (const char byte : text) {
    if (byte == '"' || byte == '\\') {
      quoted += '\\';
      quoted += byte;
    } else if (static_cast<unsigned char>(byte) < 0x20) {
      char escape[8] = {};
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(byte));
      quoted += escape;
    } else {
      quoted += byte;
    }
  }
  return quoted + '"';
}

// Converts a decimal number to its JSON form, without the plus sign and leading zeros that YAML
// allows. Empty if it is no decimal number.
std::string AsInteger(std::string_view text) {
  std::string sign;
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
    if (text.front() == '-') sign = "-";
    text.remove_prefix(1);
  }
  if (text.empty() || text.find_first_not_of("0123456789") != text.npos) return "";
  while (text.size() > 1 && text.front() == '0')
    text.remove_prefix(1);
  return sign + std::string(text);
}

std::string PlainAsJson(const std::string& text) {
  if (text == "true" || text == "True" || text == "TRUE") return "true";
  if (text == "false" || text == "False" || text == "FALSE") return "false";
  const std::string integer = AsInteger(text);
  return integer.empty() ? InJsonQuotes(text) : integer;
}

class JsonWriter final : public YAML::EventHandler {
 public:
  explicit JsonWriter(const std::string& source) : source_(source) {}

  const std::string& Json() const { return json_; }

  void OnDocumentStart(const YAML::Mark& mark) override {
    if (!json_.empty()) Fail(mark, "a second document begins; a catalogue is one");
  }
  void OnDocumentEnd() override {}

  void OnNull(const YAML::Mark& mark, YAML::anchor_t /*anchor*/) override {
    if (Begin(mark)) Fail(mark, kNoKey);
    json_ += "null";
  }

  void OnAlias(const YAML::Mark& mark, YAML::anchor_t /*anchor*/) override {
    Fail(mark, "aliases (*name) are not taken; write out what it stands for");
  }

  void OnScalar(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t /*anchor*/,
                const std::string& value) override {
    const bool isPlain = tag == "?" || tag.empty();
    if (!isPlain) ExpectNoTag(mark, tag);
    const bool isKey = Begin(mark);
    json_ += isPlain && !isKey ? PlainAsJson(value) : InJsonQuotes(value);
  }

  void OnSequenceStart(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t /*anchor*/,
                       YAML::EmitterStyle::value /*style*/) override {
    Open(mark, tag, /*isMap=*/false);
  }
  void OnSequenceEnd() override { Close(']'); }

  void OnMapStart(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t /*anchor*/,
                  YAML::EmitterStyle::value /*style*/) override {
    Open(mark, tag, /*isMap=*/true);
  }
  void OnMapEnd() override { Close('}'); }

 private:
  struct Level {
    bool isMap;
    std::size_t values = 0;  // of a map keys and values
  };

  [[noreturn]] void Fail(const YAML::Mark& mark, const std::string& problem) const {
    throw DocumentError(source_, Position(mark), problem);
  }

  void ExpectNoTag(const YAML::Mark& mark, const std::string& tag) const {
    if (tag != "?" && tag != "!" && !tag.empty()) Fail(mark, "tags (!name) are not taken");
  }

  // Writes the separator before the next value. Returns true if that value is a key.
  bool Begin(const YAML::Mark& mark) {
    bool isKey = false;
    if (!levels_.empty()) {
      Level& level = levels_.back();
      isKey = level.isMap && level.values % 2 == 0;
      const bool isFirst = level.values == 0;
      ++level.values;
      if (level.isMap && !isKey) {
        json_ += ':';
      } else if (!isFirst) {
        json_ += ',';
      }
    }
    for (; line_ < mark.line; ++line_)
      json_ += '\n';
    return isKey;
  }

  void Open(const YAML::Mark& mark, const std::string& tag, bool isMap) {
    ExpectNoTag(mark, tag);
    if (Begin(mark)) Fail(mark, kNoKey);
    json_ += isMap ? '{' : '[';
    levels_.push_back({isMap});
  }

  void Close(char bracket) {
    json_ += bracket;
    levels_.pop_back();
  }

  const std::string& source_;
  std::string json_;
  std::vector<Level> levels_;
  int line_ = 0;
};

bool EndsIn(const std::string& path, std::string_view ending) {
  return path.size() > ending.size() &&
         path.compare(path.size() - ending.size(), ending.size(), ending) == 0;
}

bool IsYaml(const std::string& path, const std::string& text) {
  if (EndsIn(path, ".yaml") || EndsIn(path, ".yml")) return true;
  if (EndsIn(path, ".json")) return false;
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  const char byte = first == text.npos ? '{' : text[first];
  const bool isLetter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
  return isLetter || byte == '#' || byte == '-' || byte == '%';
}

}  // namespace

std::string YamlAsJson(const std::string& yaml, const std::string& source) {
  std::istringstream input(yaml);
  JsonWriter writer(source);
  try {
    YAML::Parser parser(input);
    while (parser.HandleNextDocument(writer)) {
    }
  } catch (const YAML::Exception& failure) {
    throw DocumentError(source, Position(failure.mark), failure.msg);
  }
  return writer.Json();
}

std::string ReadDocument(const std::string& path) {
  std::string text = ReadInput(path);
  return IsYaml(path, text) ? YamlAsJson(text, InputName(path)) : text;
}

}  // namespace Quorctl
