// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// MD5 of several texts at once, one in each lane of the processor's vectors.
//
// The steps of one MD5 wait for each other, those of different texts do not (multi-buffer hashing,
// S. Gueron and V. Krasnov, "Simultaneous hashing of multiple messages", 2012). A lane whose text
// has ended takes the next one.
#ifndef PLATFORM_SRC_SERVICES_MD5_LANES_H_
#define PLATFORM_SRC_SERVICES_MD5_LANES_H_

#include <cstddef>

#include "platform/crypto_hash.h"

namespace HostPlatform {

// Writes the digests of the texts, 16 bytes each. False, with nothing written, where the
// architecture has no vectors, so that one text after the other is faster.
bool ComputeMd5InLanes(const CryptoHashText* texts, std::size_t count, unsigned char* digests);

}  // namespace HostPlatform

#endif  // PLATFORM_SRC_SERVICES_MD5_LANES_H_
