#include "file_benchmark.h"

#include <simdjson.h>

#include <string>

#include "floor.h"
#include "measurement.h"
#include "platform/admin.h"

namespace Bench {

using TavQuor::QuorLib;

namespace {

constexpr char kFile[] = "/host-config.json";

// Each record was read before, so that no parse is in the numbers but where one is wanted.
void UseFileOf(const std::string& host) {
  HostPlatform::UseHostDirectory(host);
  HostPlatform::OverrideFeature(kStoreSwitch, false);
  benchmark::DoNotOptimize(QuorLib::GetDbHash());
}

// A call of the library, with its records in the file of `host`, which outlives the measurements.
template <typename Call>
Measurement* MeasureLibrary(const std::string& name, const std::string& host, Call call) {
  return Measure(
      name, [&host] { UseFileOf(host); }, std::move(call));
}

void RegisterLookups(Contestants& on) {
  const std::string& first = on.workload.policies.front().policyId;
  const std::string& last = on.workload.policies.back().policyId;
  MeasureLibrary("file_first/library", on.host,
                 [&first] { return QuorLib::GetRilkPolicyBlobById(first); });
  MeasureLibrary("file_last/library", on.host,
                 [&last] { return QuorLib::GetRilkPolicyBlobById(last); });
  MeasureLibrary("file_list/library", on.host, [] { return QuorLib::ListPolicyInfo(); });
  Measure("file_list/floor", [&on] { return Policies(on.workload.policies); });
}

// A parser of its own each time, as the first read of a process has it.
void RegisterColdReads(Contestants& on) {
  const std::string& first = on.workload.policies.front().policyId;
  MeasurePrepared(
      "file_cold/library",
      [&on, copy = false]() mutable {
        copy = !copy;
        HostPlatform::UseHostDirectory(copy ? on.hostCopy : on.host);
        HostPlatform::OverrideFeature(kStoreSwitch, false);
      },
      [&first] { return QuorLib::GetRilkPolicyBlobById(first); });
  MeasurePrepared(
      "file_cold/floor", [] {},
      [path = on.host + kFile] {
        simdjson::dom::parser parser;
        return parser.load(path).error();
      });
}

void RegisterReplacement(Contestants& on) {
  WaitsForTheDisk(MeasureLibrary("file_replace/library", on.hostWritten,
                                 [&on] { QuorLib::AddPolicyInfo(on.workload.policies); }));
  WaitsForTheDisk(Measure("file_replace/floor", [&on, bytes = ReadFile(on.hostWritten + kFile)] {
    ReplaceFileDurably(on.hostWritten, "floor", bytes);
  }));
}

}  // namespace

void RegisterFileBenchmarks(Contestants& on) {
  RegisterLookups(on);
  RegisterColdReads(on);
  RegisterReplacement(on);
}

}  // namespace Bench
