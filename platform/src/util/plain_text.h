// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Scans of text that look at sixteen bytes together.
#ifndef PLATFORM_SRC_UTIL_PLAIN_TEXT_H_
#define PLATFORM_SRC_UTIL_PLAIN_TEXT_H_

#include <cstdint>
#include <cstring>
#include <string_view>

namespace HostPlatform {

// Sixteen bytes, and the operators of the compiler's vector extension: they work byte by byte, and
// a comparison gives 0xff where it holds.
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

// From `from` on, the first block that `mayHaveWanted` holds for, or where less than sixteen bytes
// are left.
template <typename Test>
std::size_t SkipBlocks(std::string_view text, std::size_t from, Test mayHaveWanted) {
  while (text.size() - from >= sizeof(ByteBlock) && !mayHaveWanted(LoadBlock(text.data() + from)))
    from += sizeof(ByteBlock);
  return from;
}

}  // namespace HostPlatform

#endif  // PLATFORM_SRC_UTIL_PLAIN_TEXT_H_
