// The measurements. Their names are CASE/CONTESTANT; report.py puts those of one case side by side.
#ifndef BENCH_STORE_BENCHMARK_H_
#define BENCH_STORE_BENCHMARK_H_

#include "contestants.h"

namespace Bench {

// The contestants outlive the measurements.
void RegisterBenchmarks(Contestants& on);

}  // namespace Bench

#endif  // BENCH_STORE_BENCHMARK_H_
