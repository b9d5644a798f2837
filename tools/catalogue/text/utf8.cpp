// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/text/utf8.h"

namespace Quorctl {
namespace {

// The length that a lead byte announces; 0 when the byte cannot lead.
std::size_t AnnouncedLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

bool IsShortestAndLegal(char32_t codePoint, std::size_t length) {
  if (length == 3) return codePoint >= 0x800 && (codePoint < 0xD800 || codePoint > 0xDFFF);
  if (length == 4) return codePoint >= 0x10000 && codePoint <= 0x10FFFF;
  return true;  // of one and two bytes the lead byte tells all
}

}  // namespace

DecodedCharacter DecodeCharacter(std::string_view text, std::size_t position) {
  const auto byteAt = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
  const unsigned char lead = byteAt(position);
  const DecodedCharacter invalid = {false, lead, 1};
  const std::size_t length = AnnouncedLength(lead);
  if (length == 1) return {true, lead, 1};
  if (length == 0 || length > text.size() - position) return invalid;
  char32_t codePoint = lead & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const unsigned char next = byteAt(position + i);
    if ((next & 0xC0u) != 0x80u) return invalid;
    codePoint = (codePoint << 6) | (next & 0x3Fu);
  }
  if (!IsShortestAndLegal(codePoint, length)) return invalid;
  return {true, codePoint, length};
}

bool IsValidUtf8(std::string_view text) {
  for (std::size_t position = 0; position < text.size();) {
    const DecodedCharacter character = DecodeCharacter(text, position);
    if (!character.valid) return false;
    position += character.length;
  }
  return true;
}

bool IsControlCharacter(char32_t codePoint) {
  return codePoint < 0x20 || (codePoint >= 0x7F && codePoint <= 0x9F);
}

}  // namespace Quorctl
