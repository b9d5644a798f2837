#include "configfile/document_parser.h"

#include <simdjson.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "configfile/document_outline.h"
#include "configfile/failure.h"

namespace ZynCtl::Config {
namespace {

namespace ondemand = simdjson::ondemand;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t kFewMembers = 16;  // compared pair by pair

// A key that stands twice has two meanings, and one of them would be lost at the next write.
bool HasDuplicate(const Node& branch) {
  const std::vector<Member>& members = branch.members;
  if (members.size() > kFewMembers) {
    std::unordered_set<std::string_view> names;
    return !std::all_of(members.begin(), members.end(),
                        [&](const Member& member) { return names.insert(member.name).second; });
  }
  for (auto a = members.begin(); a != members.end(); ++a) {
    if (std::any_of(members.begin(), a, [&](const Member& b) { return b.name == a->name; })) {
      return true;
    }
  }
  return false;
}

// Builds the tree of a document of text and branches only, which is all that this library writes.
// Null for every other one: numbers lose their spelling here, and errors have no place.
class PlainDocument {
 public:
  static std::shared_ptr<Node> Parse(const simdjson::padded_string& text) {
    simdjson::dom::parser parser;
    simdjson::dom::element root;
    if (parser.parse(text).get(root) != simdjson::SUCCESS || !root.is_object()) return nullptr;
    return Build(root, 0);
  }

 private:
  static std::shared_ptr<Node> Build(simdjson::dom::element element, int depth) {
    if (depth > kDeepestNesting) return nullptr;
    switch (element.type()) {
      case simdjson::dom::element_type::OBJECT:
        return BuildBranch(element, depth);
      case simdjson::dom::element_type::ARRAY: {
        auto node = std::make_shared<Node>(Node::Type::kArray);
        for (const auto item : simdjson::dom::array(element)) {
          node->items.push_back(Build(item, depth + 1));
          if (!node->items.back()) return nullptr;
        }
        return node;
      }
      case simdjson::dom::element_type::STRING: {
        auto node = std::make_shared<Node>(Node::Type::kText);
        node->text = std::string_view(element);
        return node;
      }
      default:
        return nullptr;
    }
  }

  static std::shared_ptr<Node> BuildBranch(simdjson::dom::element element, int depth) {
    auto node = std::make_shared<Node>(Node::Type::kBranch);
    for (const auto field : simdjson::dom::object(element)) {
      std::shared_ptr<Node> value = Build(field.value, depth + 1);
      if (!value) return nullptr;
      node->members.push_back({std::string(field.key), std::move(value)});
    }
    return HasDuplicate(*node) ? nullptr : node;
  }
};

// Builds the tree of any document, with numbers as they were written, and names the place of what
// is wrong. Several times slower.
class Parser {
 public:
  Parser(const simdjson::padded_string& text, const std::string& path)
      : path_(path), padded_(text) {}

  std::shared_ptr<Node> Parse() {
    if (Text().starts_with(kByteOrderMark)) {
      RaiseAt(padded_.data(), "it starts with a byte-order mark; save it as UTF-8 without one");
    }
    if (const auto error = parser_.iterate(padded_).get(document_)) Raise(error);
    started_ = true;
    ondemand::object object;
    if (const auto error = document_.get_object().get(object)) {
      if (error == simdjson::INCORRECT_TYPE) RaiseHere("the document is not a JSON object");
      Raise(error);
    }
    std::shared_ptr<Node> root = ParseBranch(object, 1);
    const char* rest = nullptr;
    if (document_.current_location().get(rest) == simdjson::SUCCESS) {
      RaiseAt(rest, "there is more text behind the document's end");
    }
    return root;
  }

 private:
  std::string_view Text() const { return std::string_view(padded_.data(), padded_.size()); }

  std::shared_ptr<Node> ParseValue(ondemand::value value, int depth) {
    if (depth > kDeepestNesting) {
      RaiseHere("it nests deeper than " + std::to_string(kDeepestNesting) + " levels");
    }
    ondemand::json_type type;
    if (const auto error = value.type().get(type)) Raise(error);
    switch (type) {
      case ondemand::json_type::object: {
        ondemand::object object;
        if (const auto error = value.get_object().get(object)) Raise(error);
        return ParseBranch(object, depth + 1);
      }
      case ondemand::json_type::array:
        return ParseArray(value, depth + 1);
      case ondemand::json_type::string: {
        auto node = std::make_shared<Node>(Node::Type::kText);
        std::string_view text;
        const char* const place = value.raw_json_token().data();
        if (const auto error = value.get_string().get(text)) {
          RaiseAt(place, simdjson::error_message(error));
        }
        node->text = text;
        return node;
      }
      default:
        return ParseLiteral(value);
    }
  }

  std::shared_ptr<Node> ParseBranch(ondemand::object object, int depth) {
    auto node = std::make_shared<Node>(Node::Type::kBranch);
    std::unordered_set<std::string> names;
    for (auto item : object) {
      ondemand::field field;
      if (const auto error = std::move(item).get(field)) Raise(error);
      const char* const place = field.key().raw();
      std::string_view key;
      if (const auto error = field.unescaped_key().get(key)) {
        RaiseAt(place, simdjson::error_message(error));
      }
      Member& member = node->members.emplace_back();
      member.name = key;
      if (!names.insert(member.name).second) {
        RaiseAt(place, "the key \"" + member.name + "\" stands twice in one object");
      }
      member.node = ParseValue(field.value(), depth);
    }
    return node;
  }

  std::shared_ptr<Node> ParseArray(ondemand::value value, int depth) {
    auto node = std::make_shared<Node>(Node::Type::kArray);
    ondemand::array array;
    if (const auto error = value.get_array().get(array)) Raise(error);
    for (auto item : array) {
      ondemand::value element;
      if (const auto error = item.get(element)) Raise(error);
      node->items.push_back(ParseValue(element, depth));
    }
    return node;
  }

  // Numbers are kept as they were written: no digit of somebody else's number is lost.
  std::shared_ptr<Node> ParseLiteral(ondemand::value value) {
    std::string_view token = value.raw_json_token();
    while (!token.empty() && std::strchr(" \t\r\n", token.back()) != nullptr) {
      token.remove_suffix(1);
    }
    if (token == "null") return std::make_shared<Node>(Node::Type::kNull);
    if (token != "true" && token != "false" && !IsNumber(token)) {
      RaiseAt(token.data(), "neither a value nor a number is written like this");
    }
    auto node = std::make_shared<Node>(Node::Type::kLiteral);
    node->text = token;
    return node;
  }

  static bool IsDigit(char c) { return c >= '0' && c <= '9'; }

  static bool TakeDigits(std::string_view* text) {
    std::size_t count = 0;
    while (count < text->size() && IsDigit((*text)[count]))
      ++count;
    text->remove_prefix(count);
    return count != 0;
  }

  static bool IsNumber(std::string_view text) {
    if (text.starts_with('-')) text.remove_prefix(1);
    if (text.starts_with('0')) {
      text.remove_prefix(1);
    } else if (!TakeDigits(&text)) {
      return false;
    }
    if (text.starts_with('.')) {
      text.remove_prefix(1);
      if (!TakeDigits(&text)) return false;
    }
    if (text.starts_with('e') || text.starts_with('E')) {
      text.remove_prefix(1);
      if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
      if (!TakeDigits(&text)) return false;
    }
    return text.empty();
  }

  [[noreturn]] void Raise(simdjson::error_code error) {
    if (error == simdjson::MEMALLOC) throw std::bad_alloc();
    if (error == simdjson::UTF8_ERROR) {
      RaiseAt(padded_.data() + FindInvalidUtf8(Text()), "it is not valid UTF-8");
    }
    if (error == simdjson::EMPTY) RaiseAt(padded_.data(), "it is empty");
    if (!started_ || error == simdjson::INCOMPLETE_ARRAY_OR_OBJECT) {
      if (const auto mistake = FindOutlineMistake(Text())) {
        RaiseAt(padded_.data() + mistake->place, mistake->reason);
      }
    }
    RaiseHere(simdjson::error_message(error));
  }

  [[noreturn]] void RaiseHere(const std::string& reason) {
    const char* place = nullptr;
    if (!started_ || document_.current_location().get(place) != simdjson::SUCCESS) {
      place = padded_.data() + padded_.size();
    }
    RaiseAt(place, reason);
  }

  [[noreturn]] void RaiseAt(const char* place, const std::string& reason) {
    const char* const begin = padded_.data();
    place = std::clamp(place, begin, begin + padded_.size());
    const auto line = std::count(begin, place, '\n') + 1;
    const char* lineStart = place;
    while (lineStart != begin && lineStart[-1] != '\n')
      --lineStart;
    RaiseConfigFile(path_ + ":" + std::to_string(line) + ":" +
                    std::to_string(place - lineStart + 1) + ": " + reason +
                    "; nothing was changed. Correct it, or restore it from a backup");
  }

  const std::string& path_;
  const simdjson::padded_string& padded_;
  ondemand::parser parser_;
  ondemand::document document_;
  bool started_ = false;  // the document may be asked where it is
};

}  // namespace

std::shared_ptr<Node> ParseDocument(const std::string& text, const std::string& path) {
  const simdjson::padded_string padded(text);
  std::shared_ptr<Node> plain = PlainDocument::Parse(padded);
  return plain ? plain : Parser(padded, path).Parse();
}

}  // namespace ZynCtl::Config
