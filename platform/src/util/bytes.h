// Fixed-width integers in stored bytes: little-endian, at any alignment.
#ifndef PLATFORM_SRC_UTIL_BYTES_H_
#define PLATFORM_SRC_UTIL_BYTES_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace HostPlatform {

template <typename Integer>
Integer LoadInteger(const char* bytes) {
  std::uint64_t value = 0;
  for (unsigned i = 0; i < sizeof(Integer); ++i) {
    value |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  }
  return static_cast<Integer>(value);
}

template <typename Integer>
void AppendInteger(Integer value, std::string* bytes) {
  for (unsigned i = 0; i < sizeof(Integer); ++i) {
    bytes->push_back(static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i)));
  }
}

}  // namespace HostPlatform

#endif  // PLATFORM_SRC_UTIL_BYTES_H_
