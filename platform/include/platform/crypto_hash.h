// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Message digests.
#ifndef PLATFORM_CRYPTO_HASH_H_
#define PLATFORM_CRYPTO_HASH_H_

#include <stddef.h>

#include "platform/export.h"

enum { kCryptoHashMd5Size = 16 };

#ifdef __cplusplus
extern "C" {
#endif

// Writes the MD5 digest (RFC 1321) of `length` bytes at `data` (may be null when `length` is 0) to
// the 16 bytes at `digest`. Returns 0: computing a digest cannot fail. For telling change, not for
// security.
PLATFORM_API int CryptoHash_ComputeMD5(const void* data, size_t length, unsigned char* digest);

// A text to be digested.
typedef struct CryptoHashText {  // NOLINT(modernize-use-using): for C too
  const void* data;              // may be null when `length` is 0
  size_t length;                 // in bytes
} CryptoHashText;

// Writes the MD5 digests of `count` texts, 16 bytes each one after the other, to `digests`; several
// times as fast as one call for each where the processor has vectors. Returns 0. Optional: libquor
// works with a platform that does not have it.
PLATFORM_API int CryptoHash_ComputeMD5OfEach(const CryptoHashText* texts, size_t count,
                                             unsigned char* digests);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_CRYPTO_HASH_H_
