#include "util/checksum.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace HostPlatform {

std::uint64_t Checksum(std::string_view bytes, std::uint64_t seed) {
  return XXH3_64bits_withSeed(bytes.data(), bytes.size(), seed);
}

}  // namespace HostPlatform
