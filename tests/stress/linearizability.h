// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Whether a history can be explained: whether its operations could have been carried out one at a
// time, each between its start and its end, with the same answers.
//
// The search is that of J. M. Wing and C. Gong, "Testing and Verifying Concurrent Objects" (1993):
// of the operations that nothing unfinished precedes, one is carried out on a model, and the rest
// is explained from there. What was tried is remembered, as in G. Lowe, "Testing for
// linearizability" (2017), so that each set of finished operations is met once with each state.
//
// Some calls are not one operation but several, one after the other, and are tried as such:
// - Reset() of the configuration file empties the policies under one lock and the datastores under
//   the next;
// - GetDefaultPolicyBlob() reads the datastore's default policy, its namespace, and the blob;
// - GetPolicyBlobById() reads the datastore's namespace, and the blob;
// - GetDbHash() reads the policies, and the datastores.
//
// A call that ended in "busy" did nothing, but that such a Reset() may have emptied the policies. A
// call that never ended may have been carried out up to any of its steps, at any time.
#ifndef TESTS_STRESS_LINEARIZABILITY_H_
#define TESTS_STRESS_LINEARIZABILITY_H_

#include <cstddef>

#include "history.h"

namespace StressTest {

enum class Resets { kAtOnce, kInTwoSteps };

// `configurations` counts what the search has met.
bool IsExplained(const History& history, StoredSets initial, Resets resets,
                 std::size_t* configurations = nullptr);

}  // namespace StressTest

#endif  // TESTS_STRESS_LINEARIZABILITY_H_
