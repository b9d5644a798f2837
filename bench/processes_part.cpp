// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "child_program.h"
#include "contestants.h"
#include "library_catalogue.h"
#include "parts.h"
#include "platform/admin.h"
#include "samples.h"
#include "temporary_directory.h"

namespace Bench {
namespace {

constexpr std::size_t kListings = 3;

struct Probe {
  std::string contestant;
  ChildProgram program;
  std::string place;
};

std::string ProbePath(const std::string& name) {
  return std::filesystem::read_symlink("/proc/self/exe").replace_filename("probe_" + name);
}

// A host of its own for the configuration file: a process finds out from the feature switches, as
// it would on a host.
std::string MakeFileHost(const std::string& directory, const Workload& workload) {
  std::string host = directory + "/file-host";
  HostPlatform::UseHostDirectory(host);
  HostPlatform::SetFeature(kStoreSwitch, false);
  TavQuor::QuorLib::AddPolicyInfo(workload.policies);
  TavQuor::QuorLib::AddDatastoreInfo(workload.datastores);
  return host;
}

std::vector<Probe> MakeProbes(const std::string& directory,
                              const std::vector<std::string>& contestants,
                              const Workload& workload) {
  std::vector<Probe> probes;
  const std::string size = std::to_string(workload.policies.front().blobs.front().first.size());
  probes.push_back({"nothing", ChildProgram(ProbePath("nothing")), size});
  const std::string fileHost = MakeFileHost(directory, workload);
  HostPlatform::UseHostDirectory(HostIn(directory));
  HostPlatform::SetFeature(kStoreSwitch, true);
  for (const std::string& contestant : contestants) {
    if (contestant == kStore || contestant == kFile) {
      const std::string host = contestant == kStore ? HostIn(directory) : fileHost;
      probes.push_back(
          {contestant, ChildProgram(ProbePath("library"), {"QUOR_HOST_DIR=" + host}), "-"});
      continue;
    }
    std::string place = StoredIn(directory, contestant);
    if (contestant == kSqlite) place += "/catalogue.sqlite";
    probes.push_back({contestant, ChildProgram(ProbePath(contestant)), place});
  }
  return probes;
}

// In a new order each round, so that the machine's drift meets all.
void MeasureStarts(std::vector<Probe> probes, const Workload& workload, std::size_t rounds,
                   Samples* samples) {
  std::mt19937 random(1);
  const auto& policy = workload.policies.back();
  const std::string size = std::to_string(policy.blobs.front().first.size());
  for (std::size_t round = 0; round < rounds; ++round) {
    std::shuffle(probes.begin(), probes.end(), random);
    for (const Probe& probe : probes) {
      const std::vector<std::string> lookup = {"lookup", probe.place, policy.name, size};
      samples->Add("cold", probe.contestant, Nanoseconds([&] { probe.program.Run(lookup); }));
      if (probe.contestant != kStore) continue;
      samples->Add("cold", "store_no_call", Nanoseconds([&] { probe.program.Run({"none"}); }));
    }
  }
}

// In a running process, with nothing from before: no mapping, no handle, no statement. Another
// handle keeps the database open, as it would be on a host in use.
void MeasureOpenings(const std::string& directory, const Workload& workload, std::size_t rounds,
                     Samples* samples) {
  const std::string& name = workload.policies.back().name;
  const auto other = OpenCatalogue(kSqlite, directory);
  other->BlobByName(name);
  for (std::size_t round = 0; round < rounds; ++round) {
    for (const char* const contestant : {kStore, kSqlite, kLmdb}) {
      HostPlatform::UseHostDirectory(HostIn(directory));  // the store's mapping is forgotten
      samples->Add("open", contestant,
                   Nanoseconds([&] { OpenCatalogue(contestant, directory)->BlobByName(name); }));
    }
  }
}

void MeasureListings(const std::vector<Probe>& probes, Samples* samples) {
  for (std::size_t round = 0; round < kListings; ++round) {
    for (const Probe& probe : probes) {
      if (probe.contestant == "nothing") continue;
      std::istringstream output(probe.program.Run({"list", probe.place}));
      double growth = 0;
      double answer = 0;
      output >> growth >> answer;
      samples->Add("memory_growth", probe.contestant, growth);
      samples->Add("memory_answer", probe.contestant, answer);
    }
  }
}

double SizeOf(const std::string& stored) {
  if (!std::filesystem::is_directory(stored)) {
    return static_cast<double>(std::filesystem::file_size(stored));
  }
  double size = 0;
  for (const auto& entry : std::filesystem::directory_iterator(stored))
    size += static_cast<double>(entry.file_size());
  return size;
}

}  // namespace

void MeasureProcesses(const Options& options) {
  const Workload workload = MakeWorkload(options.size);
  const std::vector<std::string> contestants = ContestantsFor(options.size);
  const TemporaryDirectory directory(options.directory);
  LoadAll(contestants, directory.path(), workload);
  const std::vector<Probe> probes = MakeProbes(directory.path(), contestants, workload);
  Samples samples;
  MeasureStarts(probes, workload, options.rounds, &samples);
  MeasureOpenings(directory.path(), workload, options.rounds, &samples);
  MeasureListings(probes, &samples);
  for (const std::string& contestant : contestants)
    samples.Add("file_size", contestant, SizeOf(StoredIn(directory.path(), contestant)));
  samples.Write(options);
}

}  // namespace Bench
