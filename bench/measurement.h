// How a call is measured, whatever it is.
#ifndef BENCH_MEASUREMENT_H_
#define BENCH_MEASUREMENT_H_

#include <benchmark/benchmark.h>

#include <cstddef>
#include <ctime>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Bench {

// Every policy in turn, in the workload's order; or every datastore.
template <typename Record>
class Cycle {
 public:
  Cycle(const std::vector<Record>& records, const std::vector<std::size_t>& order)
      : records_(&records), order_(&order) {}

  const Record& Next() {
    if (next_ == order_->size()) next_ = 0;
    return (*records_)[(*order_)[next_++]];
  }

 private:
  const std::vector<Record>* records_;
  const std::vector<std::size_t>* order_;
  std::size_t next_ = 0;
};

using Measurement = benchmark::internal::Benchmark;

// Not inlined: instructions.py counts what happens in here.
template <typename Call>
[[gnu::noinline]] void Repeat(benchmark::State& state, Call& call) {
  for (auto _ : state) {
    if constexpr (std::is_void_v<decltype(call())>) {
      call();
    } else {
      benchmark::DoNotOptimize(call());
    }
  }
}

// `prepare` is called once before each row of calls.
template <typename Prepare, typename Call>
Measurement* Measure(const std::string& name, Prepare prepare, Call call) {
  return benchmark::RegisterBenchmark(
      name.c_str(),
      [prepare = std::move(prepare), call = std::move(call)](benchmark::State& state) mutable {
        prepare();
        Repeat(state, call);
      });
}

template <typename Call>
Measurement* Measure(const std::string& name, Call call) {
  return Measure(
      name, [] {}, std::move(call));
}

inline double ThreadSeconds() {
  struct timespec time;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

// Processor time too, without that of what comes before each call.
template <typename Prepare, typename Call>
[[gnu::noinline]] void RepeatPrepared(benchmark::State& state, Prepare& prepare, Call& call) {
  for (auto _ : state) {
    prepare();
    const double start = ThreadSeconds();
    benchmark::DoNotOptimize(call());
    state.SetIterationTime(ThreadSeconds() - start);
  }
}

// `prepare` is called before each call.
template <typename Prepare, typename Call>
void MeasurePrepared(const std::string& name, Prepare prepare, Call call) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) mutable {
    RepeatPrepared(state, prepare, call);
  })->UseManualTime();
}

// What waits for the disk is measured by the clock; all else by processor time, which is the same
// on an idle machine and does not count what other processes take on a busy one.
inline void WaitsForTheDisk(Measurement* measurement) {
  measurement->UseRealTime()->MinTime(1.0)->Unit(benchmark::kMicrosecond);
}

}  // namespace Bench

#endif  // BENCH_MEASUREMENT_H_
