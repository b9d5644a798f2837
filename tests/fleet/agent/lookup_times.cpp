// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Asks for the default policy's blob of each datastore that is named on the command line, again and
// again until standard input ends, with 20 microseconds between two. Prints how often it asked, how
// often there was none, and the median, the 99th and the 99.9th percentile of the times in
// nanoseconds.
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "quor/quor_lib.h"

int main(int count, char** words) {
  using Clock = std::chrono::steady_clock;
  const std::vector<std::string> urls(words + 1, words + count);
  if (urls.empty()) return 2;
  std::vector<long long> times;
  times.reserve(1 << 24);
  unsigned long none = 0;
  for (pollfd input = {STDIN_FILENO, POLLIN, 0}; poll(&input, 1, 0) == 0;) {
    for (const std::string& url : urls) {
      const auto began = Clock::now();
      none += TavQuor::QuorLib::GetDefaultPolicyBlob(url).empty();
      times.push_back((Clock::now() - began).count());
      std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
  }
  std::sort(times.begin(), times.end());
  const auto at = [&times](double share) {
    return times.empty()
               ? 0
               : times[static_cast<std::size_t>(share * static_cast<double>(times.size() - 1))];
  };
  std::printf("%zu %lu %lld %lld %lld\n", times.size(), none, at(0.5), at(0.99), at(0.999));
}
