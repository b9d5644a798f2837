// Measures the library over both of its stores, and SQLite with the same catalogue beside it.
// To be run by scripts/bench, which also makes a table of the numbers.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <charconv>
#include <cstring>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>

#include "contestants.h"
#include "file_benchmark.h"
#include "store_benchmark.h"
#include "temporary_directory.h"
#include "workload.h"

namespace {

constexpr char kUsage[] =
    "usage: store_benchmark [--policies=N] [--blobs=N] [--blob-size=N] [--datastores=N]\n"
    "                       [--directory=DIR] [--benchmark_...]\n"
    "  --policies    how many; 1000\n"
    "  --blobs       of each policy; 3\n"
    "  --blob-size   bytes of each; 512\n"
    "  --datastores  of each policy; 2\n"
    "  --directory   where the stores are made, in a directory that is removed at the end; the\n"
    "                build directory\n";

struct Options {
  Bench::WorkloadSize size;
  std::string directory = BENCH_DATA_DIRECTORY;
};

// The part of `argument` after `prefix`; null when it starts otherwise.
const char* After(std::string_view prefix, const char* argument) {
  return std::string_view(argument).starts_with(prefix) ? argument + prefix.size() : nullptr;
}

bool ReadNumber(const char* text, std::size_t* number) {
  const char* const end = text + std::strlen(text);
  const auto [stopped, error] = std::from_chars(text, end, *number);
  return error == std::errc() && stopped == end && *number > 0;
}

bool ReadOption(const char* argument, Options* options) {
  if (const char* text = After("--policies=", argument)) {
    return ReadNumber(text, &options->size.policies);
  }
  if (const char* text = After("--blobs=", argument)) {
    return ReadNumber(text, &options->size.blobsPerPolicy);
  }
  if (const char* text = After("--blob-size=", argument)) {
    return ReadNumber(text, &options->size.blobSize);
  }
  if (const char* text = After("--datastores=", argument)) {
    return ReadNumber(text, &options->size.datastoresPerPolicy);
  }
  if (const char* text = After("--directory=", argument)) {
    options->directory = text;
    return true;
  }
  return false;
}

bool IsOptimised() {
#if defined(__OPTIMIZE__)
  return BENCH_SANITIZERS[0] == '\0';
#else
  return false;
#endif
}

// What the numbers depend on goes where the numbers go.
void DescribeRun(const Bench::WorkloadSize& size) {
  benchmark::AddCustomContext("build", BENCH_BUILD_TYPE);
  benchmark::AddCustomContext("optimised", IsOptimised() ? "yes" : "no");
  benchmark::AddCustomContext("sqlite",
                              std::string(sqlite3_libversion()) + ", WAL, synchronous=FULL");
  benchmark::AddCustomContext("policies", std::to_string(size.policies));
  benchmark::AddCustomContext("blobs", std::to_string(size.blobsPerPolicy));
  benchmark::AddCustomContext("blob_size", std::to_string(size.blobSize));
  benchmark::AddCustomContext("datastores", std::to_string(size.datastoresPerPolicy));
  if (!IsOptimised()) {
    std::cerr
        << "warning: built without optimisation or with sanitizers; the numbers mean nothing\n";
  }
}

int Run(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);  // takes its own arguments out
  Options options;
  for (int i = 1; i < argc; ++i) {
    if (!ReadOption(argv[i], &options)) {
      std::cerr << "store_benchmark: cannot use " << argv[i] << '\n' << kUsage;
      return 2;
    }
  }
  DescribeRun(options.size);
  const Bench::TemporaryDirectory directory(options.directory);
  Bench::Contestants contestants(Bench::MakeWorkload(options.size), directory.path());
  Bench::RegisterBenchmarks(contestants);
  Bench::RegisterFileBenchmarks(contestants);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

}  // namespace

int main(int argc, char** argv) try {
  return Run(argc, argv);
} catch (const std::exception& error) {
  std::cerr << "store_benchmark: " << error.what() << '\n';
  return 1;
}
