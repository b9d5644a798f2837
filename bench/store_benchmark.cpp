#include "store_benchmark.h"

#include <benchmark/benchmark.h>
#include <sys/stat.h>

#include <cstddef>
#include <ctime>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "floor.h"
#include "platform/admin.h"

namespace Bench {

using TavQuor::QuorLib;

namespace {

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

template <typename Call>
Measurement* Measure(const std::string& name, Call call) {
  return benchmark::RegisterBenchmark(
      name.c_str(),
      [call = std::move(call)](benchmark::State& state) mutable { Repeat(state, call); });
}

// A call of the library, with its records in `host`, which outlives the measurements. Each record
// was read before, so that the check of its checksum at its first use is not in the numbers.
template <typename Call>
Measurement* MeasureLibrary(const std::string& name, const std::string& host, Call call) {
  return benchmark::RegisterBenchmark(
      name.c_str(), [&host, call = std::move(call)](benchmark::State& state) mutable {
        HostPlatform::UseHostDirectory(host);
        benchmark::DoNotOptimize(QuorLib::GetDbHash());
        Repeat(state, call);
      });
}

// What waits for the disk is measured by the clock; all else by processor time, which is the same
// on an idle machine and does not count what other processes take on a busy one.
void WaitsForTheDisk(Measurement* measurement) {
  measurement->UseRealTime()->MinTime(1.0)->Unit(benchmark::kMicrosecond);
}

void RegisterReplacement(Contestants& on) {
  WaitsForTheDisk(MeasureLibrary("replace/library", on.hostWritten,
                                 [&on] { QuorLib::AddPolicyInfo(on.workload.policies); }));
  WaitsForTheDisk(Measure("replace/sqlite",
                          [&on] { on.databaseWritten.ReplacePolicies(on.workload.policies); }));
  // The snapshot is written whole, datastores included.
  WaitsForTheDisk(
      Measure("replace/floor", [&on, bytes = ReadFile(on.hostWritten + "/config-store.cdb")] {
        ReplaceFileDurably(on.hostWritten, "floor", bytes);
      }));
}

void RegisterLookupsByName(Contestants& on) {
  const Cycle policies(on.workload.policies, on.workload.policyOrder);
  MeasureLibrary("by_name/library", on.host, [cycle = policies]() mutable {
    return QuorLib::GetRilkPolicyBlobByName(cycle.Next().name);
  });
  Measure("by_name/sqlite", [&on, cycle = policies]() mutable {
    return on.database.BlobByName(cycle.Next().name, "RILK");
  });
  Measure("by_name/floor", [path = on.host + "/config-store.cdb"] {
    struct stat status;
    return lstat(path.c_str(), &status);
  });
}

void RegisterLookupsById(Contestants& on) {
  const std::string& last = on.workload.policies.back().policyId;
  MeasureLibrary("by_id_last/library", on.host,
                 [&last] { return QuorLib::GetRilkPolicyBlobById(last); });
  Measure("by_id_last/sqlite_unindexed",
          [&on, &last] { return on.database.BlobByIdUnindexed(last, "RILK"); });
  Measure("by_id_last/sqlite_scan",
          [&on, &last] { return on.database.BlobByIdScanning(last, "RILK"); });
  Measure("by_id_last/sqlite_index", [&on, &last] { return on.database.BlobById(last, "RILK"); });
}

void RegisterLookupsByDatastore(Contestants& on) {
  const Cycle datastores(on.workload.datastores, on.workload.datastoreOrder);
  MeasureLibrary("on_datastore/library", on.host, [cycle = datastores]() mutable {
    const auto& datastore = cycle.Next();
    return QuorLib::GetPolicyBlobById(datastore.defaultPolicyId, datastore.url);
  });
  Measure("on_datastore/sqlite_index", [&on, cycle = datastores]() mutable {
    const auto& datastore = cycle.Next();
    return on.database.BlobOnDatastore(datastore.defaultPolicyId, datastore.url);
  });
  MeasureLibrary("default_blob/library", on.host, [cycle = datastores]() mutable {
    return QuorLib::GetDefaultPolicyBlob(cycle.Next().url);
  });
  Measure("default_blob/sqlite_index", [&on, cycle = datastores]() mutable {
    return on.database.DefaultBlob(cycle.Next().url);
  });
}

void RegisterListings(Contestants& on) {
  MeasureLibrary("list/library", on.host, [] { return QuorLib::ListPolicyInfo(); });
  Measure("list/sqlite", [&on] { return on.database.ListPolicies(); });
  Measure("list/sqlite_one_by_one", [&on] { return on.database.ListPoliciesOneByOne(); });
  Measure("list/floor", [&on] { return Policies(on.workload.policies); });
  MeasureLibrary("digest/library", on.host, [] { return QuorLib::GetDbHash(); });
  Measure("digest/sqlite",
          [&on] { return DbHashOf(on.database.ListPolicies(), on.database.ListDatastores()); });
}

double ThreadSeconds() {
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

template <typename Prepare, typename Call>
void MeasurePrepared(const std::string& name, Prepare prepare, Call call) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) mutable {
    RepeatPrepared(state, prepare, call);
  })->UseManualTime();
}

// With no mapping, handle or statement from before, and with the old one given back at the end. A
// new process for each would measure the loader: the library is led to and fro between two equal
// directories instead, and SQLite's database is kept open by another connection, as it would be on
// a host in use.
void RegisterColdReads(Contestants& on) {
  const Cycle policies(on.workload.policies, on.workload.policyOrder);
  MeasurePrepared(
      "cold/library",
      [&on, copy = false]() mutable {
        copy = !copy;
        HostPlatform::UseHostDirectory(copy ? on.hostCopy : on.host);
      },
      [cycle = policies]() mutable { return QuorLib::GetRilkPolicyBlobByName(cycle.Next().name); });
  MeasurePrepared(
      "cold/sqlite", [] {},
      [&on, cycle = policies]() mutable {
        SqliteCatalogue opened(on.databasePath);
        return opened.BlobByName(cycle.Next().name, "RILK");
      });
}

}  // namespace

void RegisterBenchmarks(Contestants& on) {
  RegisterReplacement(on);
  RegisterLookupsByName(on);
  RegisterLookupsById(on);
  RegisterLookupsByDatastore(on);
  RegisterListings(on);
  RegisterColdReads(on);
}

}  // namespace Bench
