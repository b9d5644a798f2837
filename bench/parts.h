// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The parts of the benchmark. Each is a run of its own, with one workload.
#ifndef BENCH_PARTS_H_
#define BENCH_PARTS_H_

#include "options.h"

namespace Bench {

// Runs the part that the first argument names; the rest of the command line is as main() has it.
// Returns the exit status. Raises std::exception.
int RunPart(int argc, char** argv);

// Questions to catalogues that are open and were read before, by Google Benchmark, whose own
// options argv may hold; it writes the results too.
void MeasureWarm(const Options& options);

// Replacements, and the first question of a process after another one's replacement.
void MeasureCommits(const Options& options);

// Several threads and several processes asking at once.
void MeasureParallel(const Options& options);

// New processes: what starting one and asking once costs, what a listing takes of memory, and what
// the catalogues take on the disk.
void MeasureProcesses(const Options& options);

// The main calls one after the other, for callgrind to count their instructions. Does nothing else.
void CountCalls(const Options& options);

}  // namespace Bench

#endif  // BENCH_PARTS_H_
