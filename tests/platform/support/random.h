// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Random choices that can be repeated.
#ifndef TESTS_PLATFORM_SUPPORT_RANDOM_H_
#define TESTS_PLATFORM_SUPPORT_RANDOM_H_

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace PlatformTest {

// The seed in the environment variable QUOR_TEST_SEED, otherwise a new one. Printed, so that a run
// that failed can be repeated.
std::uint64_t SeedOfThisRun();

class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  std::uint64_t Number() { return engine_(); }
  std::size_t Below(std::size_t bound) { return engine_() % bound; }
  bool OneIn(std::size_t count) { return Below(count) == 0; }
  // Any bytes, 0 to `longest` of them.
  std::string Bytes(std::size_t longest);

  template <typename Item>
  const Item& Of(const std::vector<Item>& items) {
    return items[Below(items.size())];
  }

 private:
  std::mt19937_64 engine_;
};

}  // namespace PlatformTest

#endif  // TESTS_PLATFORM_SUPPORT_RANDOM_H_
