// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Checksum of stored data: XXH3, 64 bits.
#ifndef PLATFORM_SRC_SERVICES_CHECKSUM_H_
#define PLATFORM_SRC_SERVICES_CHECKSUM_H_

#include <cstdint>
#include <memory>
#include <string_view>

namespace HostPlatform {

std::uint64_t Checksum(std::string_view bytes, std::uint64_t seed = 0);

// Incremental form without a seed.
class ChecksumOfPieces {
 public:
  ChecksumOfPieces();
  ChecksumOfPieces(const ChecksumOfPieces&) = delete;
  ChecksumOfPieces& operator=(const ChecksumOfPieces&) = delete;
  ~ChecksumOfPieces();

  void Add(std::string_view piece);
  std::uint64_t Value() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace HostPlatform

#endif  // PLATFORM_SRC_SERVICES_CHECKSUM_H_
