// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The calls whose instructions callgrind counts. Of each, two calls are made before: what a first
// call does more is not in the count, but for the cases that are first calls.
#include <valgrind/callgrind.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "contestants.h"
#include "parts.h"
#include "platform/admin.h"
#include "temporary_directory.h"

namespace Bench {
namespace {

constexpr int kCallsBefore = 2;

struct CountedCall {
  const char* name;
  std::function<void()> call;
  bool changes = false;
};

// Of every case a profile is written, which bears its name.
void Count(const std::string& name, const std::function<void()>& call) {
  CALLGRIND_ZERO_STATS;
  CALLGRIND_TOGGLE_COLLECT;
  call();
  CALLGRIND_TOGGLE_COLLECT;
  CALLGRIND_DUMP_STATS_AT(name.c_str());
}

std::vector<CountedCall> CallsOf(Catalogue* catalogue, const Workload& workload) {
  const auto* policy = &workload.policies.back();
  const auto* datastore = &workload.datastores[workload.assignedDatastores - 1];
  const auto keep = [](const auto& answer) { benchmark::DoNotOptimize(&answer); };
  return {
      {"by_name", [=] { keep(catalogue->BlobByName(policy->name)); }},
      {"by_id_last", [=] { keep(catalogue->BlobById(policy->policyId)); }},
      {"default_blob", [=] { keep(catalogue->DefaultBlob(datastore->url)); }},
      {"on_datastore",
       [=] { keep(catalogue->BlobOnDatastore(datastore->defaultPolicyId, datastore->url)); }},
      {"list_policies", [=] { keep(catalogue->ListPolicies()); }},
      {"list_datastores", [=] { keep(catalogue->ListDatastores()); }},
      {"digest", [=] { keep(DigestsOf(catalogue)); }},
      {"replace_policies", [=, &workload] { catalogue->ReplacePolicies(workload.policies); }, true},
      {"replace_datastores", [=, &workload] { catalogue->ReplaceDatastores(workload.datastores); },
       true},
  };
}

// With nothing from before: no mapping, no parsed file.
void CountFirstCall(const std::string& contestant, Catalogue* catalogue, const std::string& host,
                    const Workload& workload) {
  Load(catalogue, workload);
  HostPlatform::UseHostDirectory(host);
  catalogue->Use();
  Count(contestant + ".first_by_name",
        [&] { catalogue->BlobByName(workload.policies.back().name); });
}

}  // namespace

void CountCalls(const Options& options) {
  const Workload workload = MakeWorkload(options.size);
  const TemporaryDirectory directory(options.directory);
  const std::vector<std::string> contestants = {kStore, kFile};
  LoadAll(contestants, directory.path(), workload);
  for (const std::string& contestant : contestants) {
    const auto catalogue = OpenCatalogue(contestant, directory.path());
    const std::vector<CountedCall> calls = CallsOf(catalogue.get(), workload);
    // Before callgrind looks, which makes everything slow.
    for (const CountedCall& counted : calls) {
      for (int i = 0; i < kCallsBefore; ++i)
        counted.call();
    }
    // A file that was changed a moment ago is looked at in each call; the calls counted are those
    // of a catalogue that has been there for a while.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    CALLGRIND_START_INSTRUMENTATION;
    // Of the catalogue that the last change left, everything was read before.
    for (const CountedCall& counted : calls) {
      if (!counted.changes) counted.call();
    }
    for (const CountedCall& counted : calls)
      Count(contestant + "." + counted.name, counted.call);
    CountFirstCall(contestant, catalogue.get(), HostIn(directory.path()), workload);
    CALLGRIND_STOP_INSTRUMENTATION;
  }
}

}  // namespace Bench
