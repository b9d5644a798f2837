// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "run_description.h"

#include <lmdb.h>
#include <sqlite3.h>

#include <nlohmann/json.hpp>

#include "optimisation.h"

namespace Bench {

std::map<std::string, std::string> DescribeRun(const WorkloadSize& size) {
  return {
      {"optimised", IsOptimised() ? "yes" : "no"},
      {"build", BENCH_BUILD_TYPE},
      {"compiler", BENCH_COMPILER " " __VERSION__},
      {"flags", BENCH_FLAGS},
      {"sqlite", std::string(sqlite3_libversion()) + ", WAL, synchronous=FULL"},
      {"lmdb",
       std::string(mdb_version(nullptr, nullptr, nullptr)) + ", its own locks, synchronous"},
      {"json", "nlohmann-json " + nlohmann::json::meta()["version"]["string"].get<std::string>() +
                   ", parsed per call"},
      {"policies", std::to_string(size.policies)},
      {"blobs", std::to_string(size.blobsPerPolicy)},
      {"blob_size", std::to_string(size.blobSize)},
      {"datastores", std::to_string(size.datastoresPerPolicy)},
  };
}

}  // namespace Bench
