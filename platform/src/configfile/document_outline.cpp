// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "configfile/document_outline.h"

namespace ZynCtl::Config {
namespace {

constexpr char kControlCharacter[] =
    "a line break, tab or other control character stands inside a text; write it as \\n, \\t or "
    "\\u00..";

bool IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// Sets `close` to the closing quote of the string opened at `open`, or returns its mistake.
std::optional<Mistake> SkipText(std::string_view text, std::size_t open, std::size_t* close) {
  for (std::size_t i = open + 1; i < text.size(); ++i) {
    if (static_cast<unsigned char>(text[i]) < ' ') return Mistake{i, kControlCharacter};
    if (text[i] == '"') {
      *close = i;
      return std::nullopt;
    }
    if (text[i] == '\\') ++i;
  }
  return Mistake{open, "the text that begins here is not closed"};
}

// Continuation bytes of a UTF-8 character, determined by its first byte: their number, and the
// range of the second byte (later ones are 0x80 to 0xBF).
struct Continuation {
  std::size_t count;
  unsigned char low;
  unsigned char high;
};

std::optional<Continuation> ContinuationOf(unsigned char first) {
  if (first < 0x80) return Continuation{0, 0, 0};
  if (first >= 0xC2 && first <= 0xDF) return Continuation{1, 0x80, 0xBF};
  if (first == 0xE0) return Continuation{2, 0xA0, 0xBF};
  if (first == 0xED) return Continuation{2, 0x80, 0x9F};
  if (first >= 0xE1 && first <= 0xEF) return Continuation{2, 0x80, 0xBF};
  if (first == 0xF0) return Continuation{3, 0x90, 0xBF};
  if (first >= 0xF1 && first <= 0xF3) return Continuation{3, 0x80, 0xBF};
  if (first == 0xF4) return Continuation{3, 0x80, 0x8F};
  return std::nullopt;
}

}  // namespace

std::optional<Mistake> FindOutlineMistake(std::string_view text) {
  std::size_t depth = 0;
  bool closed = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (closed && !IsSpace(c)) return Mistake{i, "there is more text behind the document's end"};
    if (c == '"') {
      if (const auto mistake = SkipText(text, i, &i)) return mistake;
    } else if (c == '{' || c == '[') {
      ++depth;
    } else if ((c == '}' || c == ']') && depth != 0) {
      closed = --depth == 0;
    }
  }
  if (depth != 0) return Mistake{text.size(), "it ends before its branches and arrays are closed"};
  return std::nullopt;
}

std::size_t FindInvalidUtf8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const auto following = ContinuationOf(static_cast<unsigned char>(text[i]));
    if (!following || following->count >= text.size() - i) return i;
    for (std::size_t k = 1; k <= following->count; ++k) {
      const auto byte = static_cast<unsigned char>(text[i + k]);
      const unsigned char low = k == 1 ? following->low : 0x80;
      const unsigned char high = k == 1 ? following->high : 0xBF;
      if (byte < low || byte > high) return i;
    }
    i += following->count + 1;
  }
  return text.size();
}

}  // namespace ZynCtl::Config
