// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "services/utf8.h"

#include <optional>

#include "services/plain_text.h"

namespace HostPlatform {
namespace {

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

std::size_t SkipAscii(std::string_view text, std::size_t from) {
  from = SkipBlocks(text, from, [](ByteBlock block) { return AnyByte(block > 127); });
  while (from < text.size() && static_cast<unsigned char>(text[from]) < 0x80)
    ++from;
  return from;
}

char Byte(char32_t bits) {
  return static_cast<char>(static_cast<unsigned char>(bits));
}

}  // namespace

std::size_t FindInvalidUtf8(std::string_view text) {
  for (std::size_t i = SkipAscii(text, 0); i < text.size(); i = SkipAscii(text, i)) {
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

char* AppendUtf8(char32_t code, char* to) {
  if (code < 0x80) {
    *to++ = Byte(code);
    return to;
  }
  if (code < 0x800) {
    *to++ = Byte(0xC0 | code >> 6);
  } else {
    if (code < 0x10000) {
      *to++ = Byte(0xE0 | code >> 12);
    } else {
      *to++ = Byte(0xF0 | code >> 18);
      *to++ = Byte(0x80 | (code >> 12 & 0x3F));
    }
    *to++ = Byte(0x80 | (code >> 6 & 0x3F));
  }
  *to++ = Byte(0x80 | (code & 0x3F));
  return to;
}

}  // namespace HostPlatform
