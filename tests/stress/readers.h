// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Processes that ask the library as fast as they can, while somebody treats its files badly.
// Nothing but an exception of the two stores may come of that: no signal, no other exception, no
// call that hangs.
#ifndef TESTS_STRESS_READERS_H_
#define TESTS_STRESS_READERS_H_

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "support/random.h"
#include "support/shared.h"

namespace StressTest {

class Readers {
 public:
  // The sets that may be stored; an answer of another one is wrong.
  Readers(int first, int second) : sets_{first, second} {}

  struct Notes {
    std::atomic<bool> stopped{false};
    std::atomic<long> answered{0};
    std::atomic<long> raised{0};
    std::atomic<long> wrong{0};
  };
  const Notes& notes() const { return *notes_; }

  void Start(int count, PlatformTest::Random* random);
  // Raises std::runtime_error when one has ended otherwise than by being told to.
  void Stop();

 private:
  void Run(std::uint64_t seed);
  void Read(PlatformTest::Random* random);
  void Expect(const std::string& blob, int policy, int blobNamespace);

  std::vector<int> sets_;
  std::vector<pid_t> processes_;
  PlatformTest::Shared<Notes> notes_;
};

}  // namespace StressTest

#endif  // TESTS_STRESS_READERS_H_
