// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The command line of store_benchmark.
#ifndef BENCH_OPTIONS_H_
#define BENCH_OPTIONS_H_

#include <string>
#include <vector>

#include "workload.h"

namespace Bench {

struct Options {
  WorkloadSize size;
  std::string
      directory;       // where the catalogues are made, in a directory that is removed at the end
  std::string output;  // file of the results
  std::size_t rounds = 0;  // of the parts that count rounds
};

// Raises std::invalid_argument.
Options ReadOptions(const std::vector<std::string>& arguments);

}  // namespace Bench

#endif  // BENCH_OPTIONS_H_
