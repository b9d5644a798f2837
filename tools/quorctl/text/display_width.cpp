// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "text/display_width.h"

#include <algorithm>
#include <iterator>

#include "catalogue/text/utf8.h"
#include "text/character_widths.h"

namespace Quorctl {
namespace {

template <std::size_t kCount>
bool Contains(const CharacterRange (&ranges)[kCount], char32_t codePoint) {
  const auto after = std::upper_bound(
      std::begin(ranges), std::end(ranges), codePoint,
      [](char32_t wanted, const CharacterRange& range) { return wanted < range.first; });
  return after != std::begin(ranges) && codePoint <= std::prev(after)->last;
}

std::size_t CharacterWidth(char32_t codePoint) {
  if (codePoint < 0x300) return 1;  // none of the ranges begins earlier
  if (Contains(kZeroWidthRanges, codePoint)) return 0;
  return Contains(kDoubleWidthRanges, codePoint) ? 2 : 1;
}

}  // namespace

std::size_t DisplayWidth(std::string_view text) {
  std::size_t width = 0;
  for (std::size_t position = 0; position < text.size();) {
    const DecodedCharacter character = DecodeCharacter(text, position);
    width += CharacterWidth(character.codePoint);
    position += character.length;
  }
  return width;
}

std::string FirstColumns(std::string_view text, std::size_t columns) {
  std::size_t position = 0;
  for (std::size_t width = 0; position < text.size();) {
    const DecodedCharacter character = DecodeCharacter(text, position);
    width += CharacterWidth(character.codePoint);
    if (width > columns) break;
    position += character.length;
  }
  return std::string(text.substr(0, position));
}

}  // namespace Quorctl
