// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

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
  // Those with a default policy first, then one for each ten policies that has none: looking one of
  // these up is half of what a lookup by datastore does, and nothing else.
  Datastores datastores;
  std::size_t assignedDatastores = 0;
  // The numbers of all policies, of all datastores with a default policy, and of those without, in
  // an order that caches cannot foresee.
  std::vector<std::size_t> policyOrder;
  std::vector<std::size_t> datastoreOrder;
  std::vector<std::size_t> unassignedOrder;
};

// The same on every call and every machine: only the size makes a difference.
Workload MakeWorkload(const WorkloadSize& size);

}  // namespace Bench

#endif  // BENCH_WORKLOAD_H_
