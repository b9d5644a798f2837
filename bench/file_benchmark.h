// The measurements over the configuration file. Named like those over the configuration store.
#ifndef BENCH_FILE_BENCHMARK_H_
#define BENCH_FILE_BENCHMARK_H_

#include "contestants.h"

namespace Bench {

// The contestants outlive the measurements.
void RegisterFileBenchmarks(Contestants& on);

}  // namespace Bench

#endif  // BENCH_FILE_BENCHMARK_H_
