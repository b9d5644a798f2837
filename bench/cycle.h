// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Records in turn, in an order that caches cannot foresee.
#ifndef BENCH_CYCLE_H_
#define BENCH_CYCLE_H_

#include <cstddef>
#include <vector>

namespace Bench {

template <typename Record>
class Cycle {
 public:
  // Records and order outlive the cycle.
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

}  // namespace Bench

#endif  // BENCH_CYCLE_H_
