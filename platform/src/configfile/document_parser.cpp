// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "configfile/document_parser.h"

// The parser's development checks write to a buffer without testing its allocation.
#define SIMDJSON_DEVELOPMENT_CHECKS 0
#include <simdjson.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "configfile/document_outline.h"
#include "configfile/failure.h"
#include "io/fork.h"

// The leak sanitizer's, in programs that have it.
extern "C" [[gnu::weak]] void __lsan_ignore_object(const void* object);  // NOLINT: its name

namespace ZynCtl::Config {
namespace {

namespace ondemand = simdjson::ondemand;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t kFewMembers = 16;  // compared pair by pair

// Shared by the process, guarded by ParserMutex(), and never destroyed: simdjson's factory object
// is destroyed at exit, while exit handlers and other threads may still call.
struct SharedParser {
  ondemand::parser* parser;
  ondemand::parser* spare;  // for a child forked during a parse
  bool busy;
};
constinit SharedParser shared = {};

ondemand::parser* MakeParser() {
  auto parser = std::make_unique<ondemand::parser>();
  // Allocates what needs the factory object. Depth 1, since the stack of 10 KB serves another way
  // of parsing.
  if (parser->allocate(0, 1) != simdjson::SUCCESS) throw std::bad_alloc();
  // Leaks when the library is unloaded.
  if (&__lsan_ignore_object != nullptr) __lsan_ignore_object(parser.get());
  return parser.release();
}

// Holds the shared parser during one parse, then frees the memory of the document.
class ParserLock {
 public:
  ParserLock()
      : lock_(HostPlatform::Io::ParserMutex()), generation_(HostPlatform::Io::Generation()) {
    // The process was forked during a parse, by another thread or by a signal handler of this one.
    if (shared.busy) shared.parser = std::exchange(shared.spare, nullptr);
    shared.busy = false;
    if (shared.parser == nullptr) {
      shared.parser = MakeParser();
      shared.spare = MakeParser();
    }
    shared.busy = true;
    parser_ = shared.parser;
  }
  ParserLock(const ParserLock&) = delete;
  ParserLock& operator=(const ParserLock&) = delete;
  ~ParserLock() {
    const auto error = parser_->allocate(0, 1);
    static_cast<void>(error);  // out of memory: everything was freed
    if (generation_ == HostPlatform::Io::Generation()) {
      shared.busy = false;
    } else {
      static_cast<void>(lock_.release());  // the parent's: the child's own is another one
    }
  }

  ondemand::parser& parser() const { return *parser_; }

 private:
  std::unique_lock<std::mutex> lock_;
  unsigned generation_;
  ondemand::parser* parser_;
};

// Builds the tree, keeps numbers literally, and locates errors.
class Parser {
 public:
  Parser(simdjson::padded_string_view text, const std::string& path, TreeStore* store)
      : path_(path), padded_(text), store_(store), parser_(held_.parser()) {}

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
    Node* const root = OpenBranch(object);
    ParseOpen();
    const char* rest = nullptr;
    if (document_.current_location().get(rest) == simdjson::SUCCESS) {
      RaiseAt(rest, "there is more text behind the document's end");
    }
    return root;
  }

 private:
  std::string_view Text() const { return std::string_view(padded_.data(), padded_.size()); }

  // An open branch or array. An explicit stack, because threads may have a small one.
  struct Container {
    Node* node;
    std::size_t first;  // index of its first child in children_
    bool started = false;
    simdjson::simdjson_result<ondemand::object_iterator> member, membersEnd;
    simdjson::simdjson_result<ondemand::array_iterator> item, itemsEnd;
    std::set<std::string_view> names = {};

    bool IsArray() const { return node->type == Node::Type::kArray; }
    // Moves to the next child; false after the last one.
    bool Advance() {
      if (IsArray()) {
        if (started) ++item;
        return (started = true) && item != itemsEnd;
      }
      if (started) ++member;
      return (started = true) && member != membersEnd;
    }
  };

  Node* OpenBranch(ondemand::object object) {
    Node* const node = store_->Make(Node::Type::kBranch);
    open_.push_back({node, children_.size(), false, object.begin(), object.end(), {}, {}});
    return node;
  }

  Node* OpenArray(ondemand::array array) {
    Node* const node = store_->Make(Node::Type::kArray);
    open_.push_back({node, children_.size(), false, {}, {}, array.begin(), array.end()});
    return node;
  }

  void CheckDepth() {
    if (open_.size() < kDeepestNesting) return;
    RaiseHere("it nests deeper than " + std::to_string(kDeepestNesting) + " levels");
  }

  void ParseOpen() {
    while (!open_.empty()) {
      if (open_.back().Advance()) {
        ParseChild(&open_.back());
      } else {
        TakeChildren(open_.back().first, open_.back().node);
        open_.pop_back();
      }
    }
  }

  // Pushes a child that is a branch or array; its own children are parsed later.
  void ParseChild(Container* parent) {
    ondemand::value value;
    if (parent->IsArray()) {
      if (const auto error = (*parent->item).get(value)) Raise(error);
      children_.push_back({{}, nullptr});
    } else {
      ondemand::field field;
      if (const auto error = (*parent->member).get(field)) Raise(error);
      children_.push_back({ParseNewName(field.key(), parent), nullptr});
      value = field.value();
    }
    const std::size_t own = children_.size() - 1;
    children_[own].node = ParseValue(value);
  }

  Node* ParseValue(ondemand::value value) {
    ondemand::json_type type;
    if (const auto error = value.type().get(type)) Raise(error);
    switch (type) {
      case ondemand::json_type::object: {
        CheckDepth();
        ondemand::object object;
        if (const auto error = value.get_object().get(object)) Raise(error);
        return OpenBranch(object);
      }
      case ondemand::json_type::array: {
        CheckDepth();
        ondemand::array array;
        if (const auto error = value.get_array().get(array)) Raise(error);
        return OpenArray(array);
      }
      case ondemand::json_type::string:
        return ParseText(value);
      default:
        return ParseLiteral(value);
    }
  }

  static std::string_view WithoutSpaceBehind(std::string_view token) {
    const std::size_t last = token.find_last_not_of(" \t\r\n");
    return token.substr(0, last + 1);
  }

  // Avoids the parser's own buffer, which is null if its allocation failed. `size` includes
  // escapes.
  std::string_view Unescape(ondemand::raw_json_string escaped, std::size_t size) {
    auto* room = reinterpret_cast<std::uint8_t*>(store_->Reserve(size + kTextPadding));
    std::string_view text;
    if (const auto error = parser_.unescape(escaped, room).get(text)) {
      RaiseAt(escaped.raw(), simdjson::error_message(error));
    }
    return text;
  }

  // A string without escapes, the usual case, refers to the document's text.
  Node* ParseText(ondemand::value value) {
    Node* const node = store_->Make(Node::Type::kText);
    const std::string_view token = WithoutSpaceBehind(value.raw_json_token());
    ondemand::raw_json_string raw;
    if (const auto error = value.get_raw_json_string().get(raw)) Raise(error);
    const std::string_view text = token.substr(1, token.size() - 2);  // without the quotes
    node->text = text.find('\\') == std::string_view::npos ? text : Unescape(raw, text.size());
    return node;
  }

  std::string_view ParseName(ondemand::raw_json_string raw) {
    const char* const begin = raw.raw();
    const char* end = begin;
    bool escaped = false;
    for (; *end != '"'; ++end) {  // there is a quote: the parser has seen it
      if (*end != '\\') continue;
      escaped = true;
      ++end;
    }
    const auto size = static_cast<std::size_t>(end - begin);
    return escaped ? Unescape(raw, size) : std::string_view(begin, size);
  }

  // False for a repeated name, of which the next write would lose one value. Compares pairwise in
  // small branches and uses a set in large ones; a tree instead of a hash table, so that prepared
  // names cannot collide.
  bool IsNew(std::string_view name, Container* branch) const {
    const auto begin = children_.begin() + static_cast<std::ptrdiff_t>(branch->first);
    if (children_.size() - branch->first < kFewMembers) {
      return std::none_of(begin, children_.end(),
                          [&](const Child& member) { return member.name == name; });
    }
    if (branch->names.empty()) {
      std::for_each(begin, children_.end(),
                    [&](const Child& member) { branch->names.insert(member.name); });
    }
    return branch->names.insert(name).second;
  }

  std::string_view ParseNewName(ondemand::raw_json_string raw, Container* branch) {
    const std::string_view name = ParseName(raw);
    if (!IsNew(name, branch)) {
      RaiseAt(raw.raw(), "the key \"" + std::string(name) + "\" stands twice in one object");
    }
    return name;
  }

  // Moves the children from `first` on to the node, with exact capacity.
  void TakeChildren(std::size_t first, Node* node) {
    node->children.assign(children_.begin() + static_cast<std::ptrdiff_t>(first), children_.end());
    children_.resize(first);
  }

  // Keeps numbers literally, so that no digit of another program's number is lost.
  Node* ParseLiteral(ondemand::value value) {
    const std::string_view token = WithoutSpaceBehind(value.raw_json_token());
    if (token == "null") return store_->Make(Node::Type::kNull);
    if (token != "true" && token != "false" && !IsNumber(token)) {
      RaiseAt(token.data(), "neither a value nor a number is written like this");
    }
    Node* const node = store_->Make(Node::Type::kLiteral);
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
  simdjson::padded_string_view padded_;
  TreeStore* store_;
  std::vector<Container> open_;  // innermost last
  std::vector<Child> children_;  // children of the containers in open_
  ParserLock held_;
  ondemand::parser& parser_;
  ondemand::document document_;
  bool started_ = false;  // the document has a current location
};

}  // namespace

Node* ParseDocument(std::unique_ptr<char[]> text, std::size_t size, const std::string& path,
                    TreeStore* store) {
  static_assert(kTextPadding >= simdjson::SIMDJSON_PADDING);
  if (size > kLargestDocument) {
    RaiseConfigFile(path + ": it has more than " + std::to_string(kLargestDocument >> 20) +
                    " MiB, the most that is read; nothing was changed. Restore it from a backup");
  }
  const simdjson::padded_string_view padded(text.get(), size, size + kTextPadding);
  store->Keep(std::move(text));
  return Parser(padded, path, store).Parse();
}

// Constructs both parsers, since the factory object is destroyed before the last exit handlers run.
void PrepareParser() try {
  shared.parser = MakeParser();
  shared.spare = MakeParser();
} catch (const std::bad_alloc&) {  // retried at first use
}

}  // namespace ZynCtl::Config
