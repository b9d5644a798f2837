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
  const std::vector<Child>& members = branch.children;
  if (members.size() > kFewMembers) {
    std::unordered_set<std::string_view> names;
    return !std::all_of(members.begin(), members.end(),
                        [&](const Child& member) { return names.insert(member.name).second; });
  }
  for (auto a = members.begin(); a != members.end(); ++a) {
    if (std::any_of(members.begin(), a, [&](const Child& b) { return b.name == a->name; })) {
      return true;
    }
  }
  return false;
}

// Builds the tree of a document of text and branches only, which is all that this library writes.
// Null for every other one: numbers lose their spelling here, and errors have no place.
class PlainDocument {
 public:
  explicit PlainDocument(TreeStore* store) : store_(store) {}

  Node* Parse(simdjson::padded_string_view text) {
    simdjson::dom::parser parser;
    simdjson::dom::element root;
    if (parser.parse(text).get(root) != simdjson::SUCCESS || !root.is_object()) return nullptr;
    Node* const node = Build(root, 0);
    if (node != nullptr) store_->Keep(std::move(parser.doc.string_buf));
    return node;
  }

 private:
  Node* Build(simdjson::dom::element element, int depth) {
    if (depth > kDeepestNesting) return nullptr;
    switch (element.type()) {
      case simdjson::dom::element_type::OBJECT:
        return BuildBranch(element, depth);
      case simdjson::dom::element_type::ARRAY:
        return BuildArray(element, depth);
      case simdjson::dom::element_type::STRING: {
        Node* const node = store_->Make(Node::Type::kText);
        node->text = std::string_view(element);
        return node;
      }
      default:
        return nullptr;
    }
  }

  Node* BuildBranch(simdjson::dom::object object, int depth) {
    Node* const node = store_->Make(Node::Type::kBranch);
    node->children.reserve(object.size());
    for (const auto field : object) {
      Node* const value = Build(field.value, depth + 1);
      if (value == nullptr) return nullptr;
      node->children.push_back({field.key, value});
    }
    return HasDuplicate(*node) ? nullptr : node;
  }

  Node* BuildArray(simdjson::dom::array array, int depth) {
    Node* const node = store_->Make(Node::Type::kArray);
    node->children.reserve(array.size());
    for (const auto item : array) {
      Node* const value = Build(item, depth + 1);
      if (value == nullptr) return nullptr;
      node->children.push_back({{}, value});
    }
    return node;
  }

  TreeStore* store_;
};

// Builds the tree of any document, with numbers as they were written, and names the place of what
// is wrong. Several times slower.
class Parser {
 public:
  Parser(simdjson::padded_string_view text, const std::string& path, TreeStore* store)
      : path_(path), padded_(text), store_(store) {}

  Node* Parse() {
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
    Node* const root = ParseBranch(object, 1);
    const char* rest = nullptr;
    if (document_.current_location().get(rest) == simdjson::SUCCESS) {
      RaiseAt(rest, "there is more text behind the document's end");
    }
    return root;
  }

 private:
  std::string_view Text() const { return std::string_view(padded_.data(), padded_.size()); }

  Node* ParseValue(ondemand::value value, int depth) {
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
        Node* const node = store_->Make(Node::Type::kText);
        std::string_view text;
        const char* const place = value.raw_json_token().data();
        if (const auto error = value.get_string().get(text)) {
          RaiseAt(place, simdjson::error_message(error));
        }
        node->text = store_->Keep(std::string(text));
        return node;
      }
      default:
        return ParseLiteral(value);
    }
  }

  Node* ParseBranch(ondemand::object object, int depth) {
    Node* const node = store_->Make(Node::Type::kBranch);
    std::unordered_set<std::string_view> names;
    for (auto item : object) {
      ondemand::field field;
      if (const auto error = std::move(item).get(field)) Raise(error);
      const char* const place = field.key().raw();
      std::string_view key;
      if (const auto error = field.unescaped_key().get(key)) {
        RaiseAt(place, simdjson::error_message(error));
      }
      const std::string_view name = store_->Keep(std::string(key));
      if (!names.insert(name).second) {
        RaiseAt(place, "the key \"" + std::string(name) + "\" stands twice in one object");
      }
      node->children.push_back({name, ParseValue(field.value(), depth)});
    }
    return node;
  }

  Node* ParseArray(ondemand::value value, int depth) {
    Node* const node = store_->Make(Node::Type::kArray);
    ondemand::array array;
    if (const auto error = value.get_array().get(array)) Raise(error);
    for (auto item : array) {
      ondemand::value element;
      if (const auto error = item.get(element)) Raise(error);
      node->children.push_back({{}, ParseValue(element, depth)});
    }
    return node;
  }

  // Numbers are kept as they were written: no digit of somebody else's number is lost.
  Node* ParseLiteral(ondemand::value value) {
    std::string_view token = value.raw_json_token();
    while (!token.empty() && std::strchr(" \t\r\n", token.back()) != nullptr) {
      token.remove_suffix(1);
    }
    if (token == "null") return store_->Make(Node::Type::kNull);
    if (token != "true" && token != "false" && !IsNumber(token)) {
      RaiseAt(token.data(), "neither a value nor a number is written like this");
    }
    Node* const node = store_->Make(Node::Type::kLiteral);
    node->text = store_->Keep(std::string(token));
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
  simdjson::padded_string_view padded_;
  TreeStore* store_;
  ondemand::parser parser_;
  ondemand::document document_;
  bool started_ = false;  // the document may be asked where it is
};

}  // namespace

Node* ParseDocument(std::string_view text, const std::string& path, TreeStore* store) {
  static_assert(kTextPadding >= simdjson::SIMDJSON_PADDING);
  const simdjson::padded_string_view padded(text.data(), text.size(), text.size() + kTextPadding);
  Node* const plain = PlainDocument(store).Parse(padded);
  return plain != nullptr ? plain : Parser(padded, path, store).Parse();
}

}  // namespace ZynCtl::Config
