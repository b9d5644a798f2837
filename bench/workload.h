// The catalogue that everything is measured with.
#ifndef BENCH_WORKLOAD_H_
#define BENCH_WORKLOAD_H_

#include <cstddef>
#include <string>
#include <vector>

#include "quor/quor_lib.h"

namespace Bench {

using Policies = std::vector<TavQuor::QuorPolicyInfo>;
using Datastores = std::vector<TavQuor::QuorDatastoreInfo>;

struct WorkloadSize {
  std::size_t policies = 1000;
  std::size_t blobsPerPolicy = 3;  // the first one for the namespace "RILK"
  std::size_t blobSize = 512;
  std::size_t datastoresPerPolicy = 2;
};

struct Workload {
  Policies policies;
  Datastores datastores;
  // The numbers of all policies, and of all datastores, in an order that caches cannot foresee.
  std::vector<std::size_t> policyOrder;
  std::vector<std::size_t> datastoreOrder;
};

// The same on every call and every machine: only the size makes a difference.
Workload MakeWorkload(const WorkloadSize& size);

}  // namespace Bench

#endif  // BENCH_WORKLOAD_H_
