// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "services/checksum.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace HostPlatform {

std::uint64_t Checksum(std::string_view bytes, std::uint64_t seed) {
  return XXH3_64bits_withSeed(bytes.data(), bytes.size(), seed);
}

struct ChecksumOfPieces::State {
  XXH3_state_t of;
};

ChecksumOfPieces::ChecksumOfPieces() : state_(std::make_unique_for_overwrite<State>()) {
  XXH3_64bits_reset(&state_->of);
}

ChecksumOfPieces::~ChecksumOfPieces() = default;

void ChecksumOfPieces::Add(std::string_view piece) {
  XXH3_64bits_update(&state_->of, piece.data(), piece.size());
}

std::uint64_t ChecksumOfPieces::Value() const {
  return XXH3_64bits_digest(&state_->of);
}

}  // namespace HostPlatform
