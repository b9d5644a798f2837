// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "fleet/sha256.h"

#include <openssl/evp.h>

#include <new>

namespace QuorFleet {

std::string Sha256Hex(const std::string& bytes) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int size = 0;
  if (EVP_Digest(bytes.data(), bytes.size(), digest, &size, EVP_sha256(), nullptr) != 1) {
    throw std::bad_alloc();  // a digest of bytes in memory fails for nothing else
  }
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (unsigned int i = 0; i < size; ++i) {
    hex += kDigits[digest[i] >> 4U];
    hex += kDigits[digest[i] & 15U];
  }
  return hex;
}

}  // namespace QuorFleet
