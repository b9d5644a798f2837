// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Text scans by blocks of sixteen bytes.
#ifndef PLATFORM_SRC_SERVICES_PLAIN_TEXT_H_
#define PLATFORM_SRC_SERVICES_PLAIN_TEXT_H_

#include <cstdint>
#include <cstring>
#include <string_view>

namespace HostPlatform {

// Vector extension of the compiler: operators work byte by byte, comparisons give 0xff for true.
using ByteBlock = unsigned char __attribute__((vector_size(16)));

inline ByteBlock LoadBlock(const char* bytes) {
  ByteBlock block;
  std::memcpy(&block, bytes, sizeof block);
  return block;
}

template <typename Mask>
bool AnyByte(Mask mask) {
  std::uint64_t halves[2];
  static_assert(sizeof halves == sizeof mask);
  std::memcpy(halves, &mask, sizeof halves);
  return (halves[0] | halves[1]) != 0;
}

// Offset of the first block from `from` on for which `mayHaveWanted` is true, or of the last,
// partial block.
template <typename Test>
std::size_t SkipBlocks(std::string_view text, std::size_t from, Test mayHaveWanted) {
  while (text.size() - from >= sizeof(ByteBlock) && !mayHaveWanted(LoadBlock(text.data() + from)))
    from += sizeof(ByteBlock);
  return from;
}

}  // namespace HostPlatform

#endif  // PLATFORM_SRC_SERVICES_PLAIN_TEXT_H_
