// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "tree/document_parser.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "errors/file_failure.h"
#include "services/plain_text.h"
#include "services/utf8.h"

namespace ZynCtl::Config {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t kFewMembers = 16;  // compared pair by pair

constexpr char32_t kHighSurrogates = 0xD800;
constexpr char32_t kLowSurrogates = 0xDC00;
constexpr char32_t kBehindSurrogates = 0xE000;

// Reads the text once, from its beginning to its end. Escapes are replaced in place, as they are
// longer than what they stand for. Behind the text stands a zero byte, which ends every scan.
class Parser {
 public:
  Parser(char* text, std::size_t size, const std::string& path, TreeStore* store)
      : path_(path), begin_(text), end_(text + size), at_(text), lineStart_(text), store_(store) {}

  Node* Parse() {
    CheckEncoding();
    SkipSpace();
    if (at_ == end_) RaiseAtStart("it is empty");
    if (*at_ != '{') RaiseHere("the document is not a JSON object");
    Node* const root = Open(Node::Type::kBranch);
    while (!open_.empty())
      ParseChildOrEnd();
    SkipSpace();
    if (at_ != end_) RaiseHere("there is more text behind the document's end");
    return root;
  }

 private:
  // An open branch or array. An explicit stack, because threads may have a small one.
  struct Container {
    Node* node;
    std::size_t first;  // index of its first child in children_
    std::set<std::string_view> names = {};

    bool IsArray() const { return node->type == Node::Type::kArray; }
  };

  void CheckEncoding() {
    const std::string_view text(begin_, static_cast<std::size_t>(end_ - begin_));
    if (text.starts_with(kByteOrderMark)) {
      RaiseAtStart("it starts with a byte-order mark; save it as UTF-8 without one");
    }
    const char* const invalid = begin_ + HostPlatform::FindInvalidUtf8(text);
    if (invalid == end_) return;
    while (at_ != invalid)
      Step();
    RaiseHere("it is not valid UTF-8");
  }

  // Over a character that may be a line break.
  void Step() {
    if (*at_++ != '\n') return;
    ++line_;
    lineStart_ = at_;
  }

  void SkipSpace() {
    while (*at_ == ' ' || *at_ == '\n' || *at_ == '\t' || *at_ == '\r')
      Step();
  }

  bool TakeIf(char wanted) {
    if (*at_ != wanted) return false;
    ++at_;
    return true;
  }

  Node* Open(Node::Type type) {
    if (open_.size() == kDeepestNesting) {
      RaiseHere("it nests deeper than " + std::to_string(kDeepestNesting) + " levels");
    }
    ++at_;
    Node* const node = store_->Make(type);
    open_.push_back({node, children_.size()});
    return node;
  }

  // The next child of the innermost container, or its end. The children of a child that is a
  // container itself come next.
  void ParseChildOrEnd() {
    Container& parent = open_.back();
    const bool isArray = parent.IsArray();
    SkipSpace();
    if (TakeIf(isArray ? ']' : '}')) {
      TakeChildren(parent.first, parent.node);
      open_.pop_back();
      return;
    }
    if (children_.size() != parent.first) {
      if (!TakeIf(',')) {
        RaiseHere(isArray ? "a comma or ] is missing here" : "a comma or } is missing here");
      }
      SkipSpace();
    }
    const std::size_t own = children_.size();
    const std::string_view name = isArray ? std::string_view() : ParseName(&parent);
    children_.push_back({name, nullptr});
    children_[own].node = ParseValue();
  }

  // A name that is new in the branch, and the colon behind it.
  std::string_view ParseName(Container* branch) {
    const char* const start = at_;
    if (*at_ != '"') RaiseHere("a name in double quotes is missing here");
    const std::string_view name = ParseText();
    if (!IsNew(name, branch)) {
      RaiseAt(start, "the key \"" + std::string(name) + "\" stands twice in one object");
    }
    SkipSpace();
    if (!TakeIf(':')) RaiseHere("a colon is missing here, between a name and its value");
    SkipSpace();
    return name;
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

  Node* ParseValue() {
    switch (*at_) {
      case '{':
        return Open(Node::Type::kBranch);
      case '[':
        return Open(Node::Type::kArray);
      case '"': {
        Node* const node = store_->Make(Node::Type::kText);
        node->text = ParseText();
        return node;
      }
      default:
        return ParseLiteral();
    }
  }

  // To the next quote, backslash or control character, or to the end.
  void SkipPlain() {
    using HostPlatform::ByteBlock;
    const std::string_view rest(at_, static_cast<std::size_t>(end_ - at_));
    at_ += HostPlatform::SkipBlocks(rest, 0, [](ByteBlock block) {
      return HostPlatform::AnyByte((block == '"') | (block == '\\') | (block < ' '));
    });
    while (*at_ != '"' && *at_ != '\\' && static_cast<unsigned char>(*at_) >= ' ')
      ++at_;
  }

  // The text within the quotes, the first of which is here.
  std::string_view ParseText() {
    const char* const quote = at_++;
    char* const text = at_;
    SkipPlain();
    char* textEnd = at_;
    while (*at_ != '"') {
      if (at_ == end_) RaiseAt(quote, "the text that begins here is not closed");
      if (*at_ != '\\') {
        RaiseHere(
            "a line break, tab or other control character stands inside a text; write it as \\n, "
            "\\t or \\u00..");
      }
      textEnd = ParseEscape(textEnd);
      const char* const plain = at_;
      SkipPlain();
      const auto size = static_cast<std::size_t>(at_ - plain);
      std::memmove(textEnd, plain, size);
      textEnd += size;
    }
    ++at_;
    return {text, static_cast<std::size_t>(textEnd - text)};
  }

  // Writes what the escape stands for to `to`; returns the end.
  char* ParseEscape(char* to) {
    constexpr std::string_view kLetters = "\"\\/bfnrt";
    constexpr std::string_view kMeant = "\"\\/\b\f\n\r\t";
    const char letter = at_[1];
    if (letter == 'u') return ParseCodes(to);
    const std::size_t known = letter == '\0' ? kLetters.npos : kLetters.find(letter);
    if (known == kLetters.npos) RaiseHere("there is no such escape in JSON");
    at_ += 2;
    *to = kMeant[known];
    return to + 1;
  }

  // One code, or the two of a surrogate pair.
  char* ParseCodes(char* to) {
    const char* const escape = at_;
    char32_t code = ParseCode(escape);
    if (code >= kHighSurrogates && code < kBehindSurrogates) {
      const bool isPair = code < kLowSurrogates && at_[0] == '\\' && at_[1] == 'u';
      const char32_t low = isPair ? ParseCode(escape) : 0;
      if (low < kLowSurrogates || low >= kBehindSurrogates) {
        RaiseAt(escape, "half of a surrogate pair is no character");
      }
      code = 0x10000 + ((code - kHighSurrogates) << 10) + (low - kLowSurrogates);
    }
    return HostPlatform::AppendUtf8(code, to);
  }

  char32_t ParseCode(const char* escape) {
    at_ += 2;
    char32_t code = 0;
    for (int i = 0; i < 4; ++i) {
      constexpr std::string_view kDigits = "0123456789abcdef0123456789ABCDEF";
      const std::size_t digit = *at_ == '\0' ? kDigits.npos : kDigits.find(*at_);
      if (digit == kDigits.npos) RaiseAt(escape, "\\u needs four hexadecimal digits");
      code = code << 4 | static_cast<char32_t>(digit % 16);
      ++at_;
    }
    return code;
  }

  // Keeps numbers literally, so that no digit of another program's number is lost.
  Node* ParseLiteral() {
    const char* const start = at_;
    while (*at_ != '\0' && std::string_view(" \t\r\n,:[]{}\"").find(*at_) == std::string_view::npos)
      ++at_;
    const std::string_view token(start, static_cast<std::size_t>(at_ - start));
    if (token.empty()) RaiseHere("a value is missing here");
    if (token == "null") return store_->Make(Node::Type::kNull);
    if (token != "true" && token != "false" && !IsNumber(token)) {
      RaiseAt(start, "neither a value nor a number is written like this");
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

  // Moves the children from `first` on to the node, with exact capacity.
  void TakeChildren(std::size_t first, Node* node) {
    node->children.assign(children_.begin() + static_cast<std::ptrdiff_t>(first), children_.end());
    children_.resize(first);
  }

  [[noreturn]] void RaiseAtStart(const std::string& reason) {
    line_ = 1;
    lineStart_ = begin_;
    RaiseAt(begin_, reason);
  }

  [[noreturn]] void RaiseHere(const std::string& reason) {
    RaiseAt(at_, at_ == end_ ? "it ends before its branches and arrays are closed" : reason);
  }

  // The place is in the present line.
  [[noreturn]] void RaiseAt(const char* place, const std::string& reason) {
    RaiseConfigFile(path_ + ":" + std::to_string(line_) + ":" +
                    std::to_string(place - lineStart_ + 1) + ": " + reason +
                    "; nothing was changed. Correct it, or restore it from a backup");
  }

  const std::string& path_;
  const char* begin_;
  const char* end_;
  char* at_;
  std::size_t line_ = 1;
  const char* lineStart_;
  TreeStore* store_;
  std::vector<Container> open_;  // innermost last
  std::vector<Child> children_;  // children of the containers in open_
};

}  // namespace

Node* ParseDocument(std::unique_ptr<char[]> text, std::size_t size, const std::string& path,
                    TreeStore* store) {
  if (size > kLargestDocument) {
    RaiseConfigFile(path + ": it has more than " + std::to_string(kLargestDocument >> 20) +
                    " MiB, the most that is read; nothing was changed. Restore it from a backup");
  }
  char* const begin = text.get();
  store->Keep(std::move(text));
  return Parser(begin, size, path, store).Parse();
}

}  // namespace ZynCtl::Config
