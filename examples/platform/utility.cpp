// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Base64, digest and formatting, with C linkage.
#include <md5.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "platform/base64.h"
#include "platform/crypto_hash.h"
#include "platform/str.h"

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string Encode(const uint8_t* bytes, size_t length) {
  std::string text;
  for (size_t i = 0; i < length; i += 3) {
    const size_t count = length - i < 3 ? length - i : 3;
    unsigned group = 0;
    for (size_t k = 0; k < 3; ++k) {
      group = group << 8 | (k < count ? bytes[i + k] : 0U);
    }
    for (size_t k = 0; k < 4; ++k) {
      text += k <= count ? kAlphabet[group >> (18 - 6 * k) & 63] : '=';
    }
  }
  return text;
}

// False for anything that Encode() does not write.
bool Decode(const std::string& text, std::string* bytes) {
  unsigned group = 0;
  unsigned bits = 0;
  for (const char c : text.substr(0, text.find('='))) {
    const char* const place = std::strchr(kAlphabet, c);
    if (place == nullptr || c == '\0') return false;
    group = group << 6 | static_cast<unsigned>(place - kAlphabet);
    bits += 6;
    if (bits < 8) continue;
    bits -= 8;
    *bytes += static_cast<char>(group >> bits & 255);
  }
  return Encode(reinterpret_cast<const uint8_t*>(bytes->data()), bytes->size()) == text;
}

// A copy with a NUL behind it, for the caller to free(); null when memory is short.
void* Allocated(const std::string& bytes) {
  void* const copy = std::malloc(bytes.size() + 1);
  if (copy != nullptr) std::memcpy(copy, bytes.c_str(), bytes.size() + 1);
  return copy;
}

}  // namespace

bool Base64_EasyEncode(const uint8_t* bytes, size_t length, char** text) try {
  auto* const copy = static_cast<char*>(Allocated(Encode(bytes, length)));
  if (copy != nullptr) *text = copy;
  return copy != nullptr;
} catch (const std::bad_alloc&) {
  return false;
}

bool Base64_EasyDecode(const char* text, uint8_t** bytes, size_t* length) try {
  std::string decoded;
  if (!Decode(text, &decoded)) return false;
  auto* const copy = static_cast<uint8_t*>(Allocated(decoded));
  if (copy == nullptr) return false;
  *bytes = copy;
  *length = decoded.size();
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

int CryptoHash_ComputeMD5(const void* data, size_t length, unsigned char* digest) {
  MD5_CTX context;
  MD5Init(&context);
  MD5Update(&context, static_cast<const uint8_t*>(data), length);
  MD5Final(digest, &context);
  return 0;
}

int Str_Sprintf(char* buffer, size_t size, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(buffer, size, format, arguments);
  va_end(arguments);
  return length;
}
