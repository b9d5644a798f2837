// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "text/hex_view.h"

#include <cstdio>

namespace Quorctl {
namespace {

constexpr std::size_t kBytesPerLine = 16;
constexpr std::size_t kColumnsPerByte = 3;

std::string HexOf(unsigned value, int digits) {
  char text[24] = {};
  std::snprintf(text, sizeof text, "%0*x", digits, value);
  return text;
}

std::string Line(std::size_t offset, std::string_view bytes) {
  std::string hex;
  std::string characters;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    if (i == kBytesPerLine / 2) hex += ' ';  // two groups are easier to count in
    hex += ' ' + HexOf(byte, 2);
    characters += byte >= 0x20 && byte < 0x7F ? bytes[i] : '.';
  }
  hex.resize(kBytesPerLine * kColumnsPerByte + 1, ' ');
  return HexOf(static_cast<unsigned>(offset), 8) + ' ' + hex + "  |" + characters + "|\n";
}

}  // namespace

std::string HexView(std::string_view bytes) {
  std::string text;
  for (std::size_t offset = 0; offset < bytes.size(); offset += kBytesPerLine) {
    text += Line(offset, bytes.substr(offset, kBytesPerLine));
  }
  return text;
}

}  // namespace Quorctl
