// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What a probe asks: a small program that asks one kind of catalogue and ends. Each probe is linked
// to what its own catalogue needs and to nothing else.
#ifndef BENCH_PROBE_H_
#define BENCH_PROBE_H_

#include <string>

#include "workload.h"

namespace Bench {

// Of the catalogue that is kept in `place`, a file or directory as its kind has it.
std::string ProbedBlob(const std::string& place, const std::string& policyName);
Policies ProbedListing(const std::string& place);

}  // namespace Bench

#endif  // BENCH_PROBE_H_
