// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "platform/crypto_hash.h"

#include <md5.h>

#include "services/md5_lanes.h"

int CryptoHash_ComputeMD5(const void* data, size_t length, unsigned char* digest) {
  MD5_CTX context;
  MD5Init(&context);
  if (length != 0) MD5Update(&context, static_cast<const uint8_t*>(data), length);
  MD5Final(digest, &context);
  return 0;
}

int CryptoHash_ComputeMD5OfEach(const CryptoHashText* texts, size_t count, unsigned char* digests) {
  if (count > 1 && HostPlatform::ComputeMd5InLanes(texts, count, digests)) return 0;
  for (size_t i = 0; i < count; ++i) {
    CryptoHash_ComputeMD5(texts[i].data, texts[i].length, digests + i * kCryptoHashMd5Size);
  }
  return 0;
}
