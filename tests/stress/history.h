// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What several processes have done to one catalogue at the same time, and what they were answered.
#ifndef TESTS_STRESS_HISTORY_H_
#define TESTS_STRESS_HISTORY_H_

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace StressTest {

enum class Call {
  kReplacePolicies,
  kReplaceDatastores,
  kReset,
  kListPolicies,
  kListDatastores,
  kRilkBlobById,
  kRilkBlobByName,
  kDefaultBlob,
  kBlobById,
  kDigests,
};

enum class Ending {
  kReturned,
  kBusy,   // raised: the lock was not free in time
  kNever,  // the process was killed, within the call perhaps
};

using Stamp = std::uint64_t;
inline constexpr Stamp kNever = std::numeric_limits<Stamp>::max();

// One call. Sets, policies, datastores and blobs are those of catalogue_sets.h.
struct Operation {
  Call call = Call::kReset;
  int set = 0;        // what a replacement writes
  int policy = 0;     // what a lookup asks for
  int datastore = 0;  // what a lookup asks for
  Ending ending = Ending::kNever;
  int answer = 0;        // number of the set or of the blob; of kDigests the set of policies
  int secondAnswer = 0;  // of kDigests the set of datastores
  int process = 0;
  // One that ended before another began has the smaller stamps.
  Stamp start = 0;
  Stamp end = kNever;
};

// The sets that are stored.
struct StoredSets {
  int policies = 0;
  int datastores = 0;
};

using History = std::vector<Operation>;

// A line for each operation, in the order in which they began.
std::string TextOf(History history);

}  // namespace StressTest

#endif  // TESTS_STRESS_HISTORY_H_
