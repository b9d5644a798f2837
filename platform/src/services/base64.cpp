// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "platform/base64.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Maps 12 bits to two characters, which halves the number of look-ups.
constexpr std::array<std::array<char, 2>, 4096> MakeEncodeTable() {
  std::array<std::array<char, 2>, 4096> table{};
  for (unsigned bits = 0; bits < table.size(); ++bits) {
    table[bits] = {kAlphabet[bits >> 6], kAlphabet[bits & 63]};
  }
  return table;
}
constexpr auto kEncodeTable = MakeEncodeTable();

// Decode tables for the four positions of a quantum: the character's six bits, shifted to their
// place within 24; kInvalid for other characters.
constexpr std::uint32_t kInvalid = 1U << 24;
using DecodeTable = std::array<std::uint32_t, 256>;
constexpr std::array<DecodeTable, 4> MakeDecodeTables() {
  std::array<DecodeTable, 4> tables{};
  for (unsigned place = 0; place < 4; ++place) {
    for (auto& entry : tables[place])
      entry = kInvalid;
    for (unsigned bits = 0; bits < 64; ++bits) {
      tables[place][static_cast<unsigned char>(kAlphabet[bits])] = bits << (18 - 6 * place);
    }
  }
  return tables;
}
constexpr auto kDecodeTables = MakeDecodeTables();

std::uint32_t DecodeQuantum(const unsigned char* text) {
  return kDecodeTables[0][text[0]] | kDecodeTables[1][text[1]] | kDecodeTables[2][text[2]] |
         kDecodeTables[3][text[3]];
}

void StoreBytes(std::uint32_t bits, uint8_t* out, unsigned count) {
  for (unsigned i = 0; i < count; ++i)
    out[i] = static_cast<uint8_t>(bits >> (16 - 8 * i));
}

std::uint64_t LoadBigEndian(const uint8_t* bytes) {
  std::uint64_t value;
  std::memcpy(&value, bytes, sizeof value);
  return std::endian::native == std::endian::little ? __builtin_bswap64(value) : value;
}

void EncodeQuantum(std::uint32_t bits, char* out) {
  std::memcpy(out, kEncodeTable[bits >> 12].data(), 2);
  std::memcpy(out + 2, kEncodeTable[bits & 4095].data(), 2);
}

// Decodes the last quantum without its padding: `digits` is 2, 3 or 4. Returns the number of bytes,
// or 0 if it is invalid.
unsigned DecodeLastQuantum(const unsigned char* text, unsigned digits, uint8_t* out) {
  unsigned char padded[4] = {'A', 'A', 'A', 'A'};
  std::memcpy(padded, text, digits);
  const std::uint32_t bits = DecodeQuantum(padded);
  const unsigned bytes = digits - 1;
  const std::uint32_t unused = bits & ((1U << (24 - 8 * bytes)) - 1);
  if (bits >= kInvalid || unused != 0) return 0;
  StoreBytes(bits, out, bytes);
  return bytes;
}

}  // namespace

bool Base64_EasyEncode(const uint8_t* bytes, size_t length, char** text) {
  if (length > (SIZE_MAX - 4) / 4 * 3) return false;
  const size_t textLength = (length + 2) / 3 * 4;
  char* const result = static_cast<char*>(std::malloc(textLength + 1));
  if (result == nullptr) return false;
  char* out = result;
  size_t i = 0;
  for (; length - i >= sizeof(std::uint64_t); i += 6, out += 8) {
    const std::uint64_t bits = LoadBigEndian(bytes + i);  // eight bytes, of which six are used
    EncodeQuantum(static_cast<std::uint32_t>(bits >> 40), out);
    EncodeQuantum(static_cast<std::uint32_t>(bits >> 16) & 0xffffff, out + 4);
  }
  for (; length - i >= 3; i += 3, out += 4) {
    EncodeQuantum(static_cast<std::uint32_t>(bytes[i] << 16 | bytes[i + 1] << 8 | bytes[i + 2]),
                  out);
  }
  if (const size_t rest = length - i; rest != 0) {
    const int second = rest == 2 ? bytes[i + 1] << 8 : 0;
    EncodeQuantum(static_cast<std::uint32_t>(bytes[i] << 16 | second), out);
    if (rest == 1) out[2] = '=';
    out[3] = '=';
    out += 4;
  }
  *out = '\0';
  *text = result;
  return true;
}

bool Base64_EasyDecode(const char* text, uint8_t** bytes, size_t* length) {
  const size_t textLength = std::strlen(text);
  if (textLength % 4 != 0) return false;
  uint8_t* const result = static_cast<uint8_t*>(std::malloc(textLength / 4 * 3 + 1));
  if (result == nullptr) return false;
  size_t decoded = 0;
  if (textLength != 0) {
    const auto* in = reinterpret_cast<const unsigned char*>(text);
    const unsigned char* const last = in + textLength - 4;
    uint8_t* out = result;
    std::uint32_t seen = 0;
    for (; in != last; in += 4, out += 3) {
      const std::uint32_t bits = DecodeQuantum(in);
      seen |= bits;
      StoreBytes(bits, out, 3);
    }
    const unsigned padding = last[3] != '=' ? 0 : last[2] != '=' ? 1 : 2;
    const unsigned tail = seen >= kInvalid ? 0 : DecodeLastQuantum(last, 4 - padding, out);
    if (tail == 0) {
      std::free(result);
      return false;
    }
    decoded = static_cast<size_t>(out - result) + tail;
  }
  *bytes = result;
  *length = decoded;
  return true;
}
