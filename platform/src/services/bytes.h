// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Fixed-width integers in stored bytes: little-endian, at any alignment.
#ifndef PLATFORM_SRC_SERVICES_BYTES_H_
#define PLATFORM_SRC_SERVICES_BYTES_H_

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

namespace HostPlatform {

// Narrows a stored length that was checked against the bytes in memory; std::size_t may have 32
// bits.
inline std::size_t CheckedSize(std::uint64_t length) {
  return static_cast<std::size_t>(length);
}

template <typename Integer>
Integer LoadInteger(const char* bytes) {
  using Unsigned = std::make_unsigned_t<Integer>;
  Unsigned value;
  std::memcpy(&value, bytes, sizeof value);
  if constexpr (std::endian::native == std::endian::big) {
    Unsigned swapped = 0;
    for (unsigned i = 0; i < sizeof value; ++i) {
      swapped = static_cast<Unsigned>(swapped << 8 | ((value >> (8 * i)) & 0xff));
    }
    value = swapped;
  }
  return static_cast<Integer>(value);
}

template <typename Integer>
void StoreInteger(Integer value, char* bytes) {
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(bytes, &value, sizeof value);
  } else {
    for (unsigned i = 0; i < sizeof value; ++i) {
      bytes[i] = static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i));
    }
  }
}

// Both write at `at` and return the position after.
template <typename Integer>
char* PutInteger(Integer value, char* at) {
  StoreInteger(value, at);
  return at + sizeof value;
}
inline char* PutBytes(std::string_view bytes, char* at) {
  if (!bytes.empty()) std::memcpy(at, bytes.data(), bytes.size());
  return at + bytes.size();
}

template <typename Integer>
void AppendInteger(Integer value, std::string* bytes) {
  char encoded[sizeof value];
  StoreInteger(value, encoded);
  bytes->append(encoded, sizeof encoded);
}

}  // namespace HostPlatform

#endif  // PLATFORM_SRC_SERVICES_BYTES_H_
