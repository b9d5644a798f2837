// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "parts.h"

#include <benchmark/benchmark.h>

#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "run_description.h"

namespace Bench {
namespace {

constexpr char kUsage[] =
    "usage: store_benchmark warm|commits|parallel|processes|calls [OPTION...]\n"
    "  --policies=N     how many; 1000\n"
    "  --blobs=N        of each policy; 3\n"
    "  --blob-size=N    bytes of each; 512\n"
    "  --datastores=N   of each policy; 2\n"
    "  --rounds=N       of all parts but warm, which takes --benchmark_... instead\n"
    "  --directory=DIR  where the catalogues are made, in a directory that is removed at the end;\n"
    "                   the build directory\n"
    "  --output=FILE    of the results\n";

struct Part {
  std::string_view name;
  void (*run)(const Options& options);
};

constexpr Part kParts[] = {{"warm", MeasureWarm},
                           {"commits", MeasureCommits},
                           {"parallel", MeasureParallel},
                           {"processes", MeasureProcesses},
                           {"calls", CountCalls}};

}  // namespace

int RunPart(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);  // takes its own options out
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  for (const Part& part : kParts) {
    if (arguments.empty() || part.name != arguments.front()) continue;
    part.run(ReadOptions({arguments.begin() + 1, arguments.end()}));
    return 0;
  }
  std::cerr << kUsage;
  return 2;
}

}  // namespace Bench
