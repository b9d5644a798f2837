// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "digest/md5_hex.h"

#include <cstring>

#include "platform/crypto_hash.h"
#include "platform/str.h"

namespace TavQuor::Digest {

std::string Md5Hex(const std::string& text) {
  std::string hex;
  if (text.empty()) return hex;
  unsigned char digest[kCryptoHashMd5Size] = {};
  CryptoHash_ComputeMD5(text.data(), text.size(), digest);
  hex.reserve(2 * sizeof digest);
  for (const unsigned char byte : digest) {
    char digits[3] = {};
    Str_Sprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(byte));
    hex.append(digits, digits[1] != '\0' ? 2 : std::strlen(digits));
  }
  return hex;
}

}  // namespace TavQuor::Digest
