// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Results of the parts that Google Benchmark does not run: rows of single measurements.
#ifndef BENCH_SAMPLES_H_
#define BENCH_SAMPLES_H_

#include <chrono>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "options.h"

namespace Bench {

class Samples {
 public:
  // Of nanoseconds, bytes or calls per second, as the case has it.
  void Add(const std::string& measured, const std::string& contestant, double value) {
    rows_[{measured, contestant}].push_back(value);
  }
  // As JSON, with the description of the run, into the file that the options name. Raises
  // std::runtime_error.
  void Write(const Options& options) const;

 private:
  std::map<std::pair<std::string, std::string>, std::vector<double>> rows_;
};

// The nanoseconds that a call takes by the clock.
template <typename Call>
double Nanoseconds(Call call) {
  const auto start = std::chrono::steady_clock::now();
  call();
  const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
  return taken.count();
}

}  // namespace Bench

#endif  // BENCH_SAMPLES_H_
