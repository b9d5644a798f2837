// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What the numbers depend on, told with them.
#ifndef BENCH_RUN_DESCRIPTION_H_
#define BENCH_RUN_DESCRIPTION_H_

#include <map>
#include <string>

#include "workload.h"

namespace Bench {

// Compiler, flags, the versions and settings of the peers, and the workload.
std::map<std::string, std::string> DescribeRun(const WorkloadSize& size);

}  // namespace Bench

#endif  // BENCH_RUN_DESCRIPTION_H_
