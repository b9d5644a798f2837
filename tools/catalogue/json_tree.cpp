// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/json_tree.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include "catalogue/document_error.h"
#include "catalogue/text/terminal_text.h"

namespace Quorctl {

using nlohmann::json;

namespace {

constexpr std::size_t kDeepestNesting = 16;
constexpr std::size_t kMostValues = 10'000'000;  // bounds the memory that a hostile document takes
constexpr std::size_t kLongestReason = 200;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// "line 3, column 14" of the last byte that the parser took, both counted from 1; columns in
// characters.
std::string LineAndColumn(std::string_view text, std::size_t bytesTaken) {
  const std::size_t at = bytesTaken == 0 ? 0 : std::min(bytesTaken - 1, text.size());
  const std::string_view before = text.substr(0, at);
  const auto line = 1 + std::count(before.begin(), before.end(), '\n');
  const std::string_view lineStart = before.substr(before.rfind('\n') + 1);
  const auto column = 1 + std::count_if(lineStart.begin(), lineStart.end(), [](char byte) {
                        return (static_cast<unsigned char>(byte) & 0xC0u) != 0x80u;
                      });
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

// The parser's reason, without its own prefix ("[...] parse error at line 1, column 2: ") and
// without the excerpt at its end. That and a number it quotes can be as long as the document.
std::string Reason(std::string_view what) {
  constexpr std::string_view kAfterPosition = ": ";
  if (what.substr(0, 1) == "[") what.remove_prefix(std::min(what.size(), what.find("] ") + 2));
  if (what.substr(0, 11) == "parse error") {
    const std::size_t colon = what.find(kAfterPosition);
    if (colon != what.npos) what.remove_prefix(colon + kAfterPosition.size());
  }
  std::string reason(what.substr(0, what.find("; last read: ")));
  const std::size_t excerpt = what.find("; last read: ");
  const std::size_t expected = what.rfind("'; expected ");
  if (excerpt != what.npos && expected != what.npos && expected > excerpt) {
    reason += what.substr(expected + 1);
  }
  if (reason.size() > kLongestReason) reason.replace(kLongestReason, reason.npos, "...");
  return reason;
}

// Reads a text and tells how far it got.
struct Cursor {
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  reference operator*() const { return *at; }
  Cursor& operator++() {
    *reached = ++at;
    return *this;
  }
  bool operator==(const Cursor& other) const { return at == other.at; }
  bool operator!=(const Cursor& other) const { return at != other.at; }

  const char* at;
  const char** reached;
};

class TreeBuilder final : public nlohmann::json_sax<json> {
 public:
  TreeBuilder(const std::string& text, const std::string& source,
              std::map<std::string, std::size_t>* lines, const TakeElement& take)
      : text_(text), source_(source), lines_(lines), take_(take), reached_(text.data()) {}

  Cursor Begin() { return {text_.data(), &reached_}; }
  Cursor End() { return {text_.data() + text_.size(), &reached_}; }

  json TakeRoot() { return std::move(root_); }

  bool null() override { return Add(nullptr); }
  bool boolean(bool value) override { return Add(value); }
  bool number_integer(number_integer_t value) override { return Add(value); }
  bool number_unsigned(number_unsigned_t value) override { return Add(value); }
  bool number_float(number_float_t value, const string_t& /*digits*/) override {
    return Add(value);
  }
  bool string(string_t& value) override { return Add(std::move(value)); }
  bool binary(binary_t& value) override { return Add(std::move(value)); }

  bool start_object(std::size_t /*size*/) override { return Open(json::object()); }
  bool start_array(std::size_t /*size*/) override { return Open(json::array()); }
  bool end_object() override { return Close(); }
  bool end_array() override { return Close(); }

  bool key(string_t& name) override {
    Container& object = open_.back();
    const auto [member, isNew] = object.value->get_ref<json::object_t&>().emplace(name, nullptr);
    if (!isNew) Fail("the key " + Quoted(name) + " is given twice");
    if (lines_) NoteLine(MemberPath(PathOfOpen(), ShownKey(name)));
    object.lastKey = std::move(name);
    object.lastMember = &member->second;
    return true;
  }

  bool parse_error(std::size_t bytesTaken, const std::string& /*lastToken*/,
                   const nlohmann::detail::exception& failure) override {
    throw DocumentError(source_, LineAndColumn(text_, bytesTaken), Reason(failure.what()));
  }

 private:
  struct Container {
    json* value;
    std::string lastKey;  // of an object, and where its value goes
    json* lastMember = nullptr;
  };

  bool Add(json value) {
    json* const placed = Place(std::move(value));
    OfferElement(placed);
    return true;
  }

  // When it is one of an array that is a member of the document.
  void OfferElement(json* value) const {
    if (!take_ || open_.size() != 2) return;
    if (!open_[0].value->is_object() || !open_[1].value->is_array()) return;
    take_(open_[0].lastKey, open_[1].value->size() - 1, *value);
  }

  json* Place(json value) {
    if (++values_ > kMostValues) {
      throw DocumentError(source_, "", "more than " + std::to_string(kMostValues) + " values");
    }
    if (open_.empty()) {
      if (lines_) NoteLine("");
      root_ = std::move(value);
      return &root_;
    }
    Container& parent = open_.back();
    if (parent.value->is_array()) {
      auto& elements = parent.value->get_ref<json::array_t&>();
      if (lines_) NoteLine(ElementPath(PathOfOpen(), elements.size()));
      elements.push_back(std::move(value));
      return &elements.back();
    }
    *parent.lastMember = std::move(value);
    return parent.lastMember;
  }

  bool Open(json value) {
    if (open_.size() == kDeepestNesting) {
      Fail("nested deeper than " + std::to_string(kDeepestNesting) + " levels");
    }
    open_.push_back({Place(std::move(value)), {}});
    return true;
  }

  bool Close() {
    json* const closed = open_.back().value;
    open_.pop_back();
    OfferElement(closed);
    return true;
  }

  // The parser may have looked at one byte after the last token.
  std::size_t Line() const {
    return 1 + static_cast<std::size_t>(std::count(text_.data(), reached_ - 1, '\n'));
  }

  void NoteLine(const std::string& path) const {
    const auto wanted = lines_->find(path);
    if (wanted != lines_->end()) wanted->second = Line();
  }

  [[noreturn]] void Fail(const std::string& problem) const {
    const std::string path = PathOfOpen();
    throw DocumentError(source_, "line " + std::to_string(Line()),
                        path.empty() ? problem : path + ": " + problem);
  }

  // The path of the innermost container that is open.
  std::string PathOfOpen() const {
    std::string path;
    for (std::size_t i = 0; i + 1 < open_.size(); ++i) {
      const Container& container = open_[i];
      path = container.value->is_array() ? ElementPath(path, container.value->size() - 1)
                                         : MemberPath(path, ShownKey(container.lastKey));
    }
    return path;
  }

  // Keys that read well in a path as they are, others in quotation marks.
  static std::string ShownKey(const std::string& key) {
    const bool plain = !key.empty() && key.size() <= 32 &&
                       key.find_first_not_of(
                           "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                           "0123456789_-") == key.npos;
    return plain ? key : Quoted(key);
  }

  const std::string& text_;
  const std::string& source_;
  json root_;
  std::vector<Container> open_;
  std::size_t values_ = 0;
  std::map<std::string, std::size_t>* lines_;
  const TakeElement& take_;
  const char* reached_;  // in the text, by the parser
};

}  // namespace

json ParseJson(const std::string& text, const std::string& source,
               std::map<std::string, std::size_t>* lines, const TakeElement& take) {
  if (std::string_view(text).substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    throw DocumentError(source, "", "starts with a byte-order mark; save it as UTF-8 without one");
  }
  // The parser stops at a zero byte, as at the end of the text, and would ignore the bytes after
  // it.
  const std::size_t zero = text.find('\0');
  if (zero != text.npos) {
    throw DocumentError(source, LineAndColumn(text, zero + 1),
                        "a zero byte; a catalogue is JSON text in UTF-8");
  }
  TreeBuilder builder(text, source, lines, take);
  json::sax_parse(builder.Begin(), builder.End(), &builder);
  return builder.TakeRoot();
}

DocumentError DocumentProblems::Told(const std::string& text, const std::string& source) const {
  std::map<std::string, std::size_t> lines;
  for (const Problem& problem : problems_)
    lines[problem.path] = 1;
  ParseJson(text, source, &lines);
  const auto describe = [&](const Problem& problem) {
    return DocumentError(source, "line " + std::to_string(lines[problem.path]),
                         (problem.path.empty() ? "" : problem.path + ": ") + problem.text);
  };
  DocumentError error = describe(problems_.front());
  for (std::size_t i = 1; i < problems_.size(); ++i)
    error.others.emplace_back(describe(problems_[i]).what());
  if (count_ > problems_.size()) {
    error.others.push_back(source + ": and " + std::to_string(count_ - problems_.size()) +
                           " more errors");
  }
  return error;
}

}  // namespace Quorctl
