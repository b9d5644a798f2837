// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "support/random.h"

#include <cstdio>
#include <cstdlib>

namespace PlatformTest {

std::uint64_t SeedOfThisRun() {
  const char* const given = std::getenv("QUOR_TEST_SEED");
  const std::uint64_t seed =
      given != nullptr ? std::strtoull(given, nullptr, 10) : std::random_device()();
  std::printf("QUOR_TEST_SEED=%llu\n", static_cast<unsigned long long>(seed));
  std::fflush(stdout);
  return seed;
}

std::string Random::Bytes(std::size_t longest) {
  std::string bytes(Below(longest + 1), '\0');
  for (char& byte : bytes)
    byte = static_cast<char>(Number());
  return bytes;
}

}  // namespace PlatformTest
