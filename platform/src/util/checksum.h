// The checksum of everything stored: XXH3 with 64 bits.
#ifndef PLATFORM_SRC_UTIL_CHECKSUM_H_
#define PLATFORM_SRC_UTIL_CHECKSUM_H_

#include <cstdint>
#include <string_view>

namespace HostPlatform {

std::uint64_t Checksum(std::string_view bytes, std::uint64_t seed = 0);

}  // namespace HostPlatform

#endif  // PLATFORM_SRC_UTIL_CHECKSUM_H_
