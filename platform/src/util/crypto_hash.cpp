// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "platform/crypto_hash.h"

#include <md5.h>

int CryptoHash_ComputeMD5(const void* data, size_t length, unsigned char* digest) {
  MD5_CTX context;
  MD5Init(&context);
  if (length != 0) MD5Update(&context, static_cast<const uint8_t*>(data), length);
  MD5Final(digest, &context);
  return 0;
}
