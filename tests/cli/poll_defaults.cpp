// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Asks for the default policy's blob of each datastore that is named on the command line, again and
// again until standard input ends. Prints how often it asked and how often there was none.
#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "quor/quor_lib.h"

int main(int count, char** words) {
  const std::vector<std::string> urls(words + 1, words + count);
  unsigned long asked = 0;
  unsigned long none = 0;
  for (pollfd input = {STDIN_FILENO, POLLIN, 0}; poll(&input, 1, 0) == 0;) {
    for (const std::string& url : urls) {
      none += TavQuor::QuorLib::GetDefaultPolicyBlob(url).empty();
      ++asked;
    }
  }
  std::printf("%lu %lu\n", asked, none);
}
