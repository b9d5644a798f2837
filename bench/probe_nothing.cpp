// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The same program without a catalogue: what remains is the start and the end of a process.
#include "probe.h"

namespace Bench {

// The place is the size of the answer.
std::string ProbedBlob(const std::string& place, const std::string&) {
  return std::string(std::stoul(place), 'x');
}

Policies ProbedListing(const std::string&) {
  return Policies(1);
}

}  // namespace Bench
