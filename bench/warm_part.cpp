// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <benchmark/benchmark.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "contestants.h"
#include "cycle.h"
#include "parts.h"
#include "platform/crypto_hash.h"
#include "run_description.h"
#include "temporary_directory.h"

namespace Bench {
namespace {

using TavQuor::QuorLib;

struct Opened {
  std::string name;
  std::unique_ptr<Catalogue> catalogue;
};

struct Warm {
  const Workload& workload;
  std::string directory;
  std::vector<Opened> all;

  // The library's two come first.
  std::vector<const Opened*> Library() const { return {&all[0], &all[1]}; }
  Catalogue* Find(const std::string& name) const {
    for (const Opened& one : all) {
      if (one.name == name) return one.catalogue.get();
    }
    return nullptr;
  }
};

// Names are CASE/CONTESTANT. All times are of the processor, which are the same on an idle machine
// and do not count what other processes take on a busy one. `catalogue` may be null.
template <typename Call>
void Measure(const std::string& name, Catalogue* catalogue, Call call) {
  benchmark::RegisterBenchmark(
      name.c_str(), [catalogue, call = std::move(call)](benchmark::State& state) mutable {
        if (catalogue) catalogue->Use();
        for (auto _ : state)
          benchmark::DoNotOptimize(call());
      });
}

template <typename Record>
using Question = std::string (*)(Catalogue* catalogue, const Record& record);
using PolicyQuestion = Question<TavQuor::QuorPolicyInfo>;
using DatastoreQuestion = Question<TavQuor::QuorDatastoreInfo>;

template <typename Record>
void MeasureInTurn(const std::string& name, const Opened& asked, Cycle<Record> records,
                   Question<Record> question) {
  Catalogue* const catalogue = asked.catalogue.get();
  Measure(name + "/" + asked.name, catalogue,
          [catalogue, cycle = std::move(records), question]() mutable {
            return question(catalogue, cycle.Next());
          });
}

std::string ById(Catalogue* catalogue, const TavQuor::QuorPolicyInfo& policy) {
  return catalogue->BlobById(policy.policyId);
}

// The least that a lookup can do.
void RegisterLookupFloor(const Warm& warm) {
  auto blobs = std::make_shared<std::unordered_map<std::string, std::string>>();
  for (const auto& policy : warm.workload.policies)
    blobs->emplace(policy.name, policy.blobs.front().first);
  Cycle policies(warm.workload.policies, warm.workload.policyOrder);
  Measure("by_name/floor", nullptr, [blobs, policies]() mutable {
    return std::string(blobs->find(policies.Next().name)->second);
  });
}

void RegisterLookups(const Warm& warm) {
  const Cycle policies(warm.workload.policies, warm.workload.policyOrder);
  const PolicyQuestion byName = [](Catalogue* catalogue, const auto& policy) {
    return catalogue->BlobByName(policy.name);
  };
  for (const Opened& asked : warm.all)
    MeasureInTurn("by_name", asked, policies, byName);
  RegisterLookupFloor(warm);
}

void RegisterScans(const Warm& warm) {
  const auto& all = warm.workload.policies;
  static const std::vector<std::size_t> kFirst = {0};
  static std::vector<std::size_t> last;
  last = {all.size() - 1};
  for (const Opened* asked : warm.Library())
    MeasureInTurn("by_id_first", *asked, Cycle(all, kFirst), PolicyQuestion(ById));
  for (const Opened& asked : warm.all)
    MeasureInTurn("by_id_last", asked, Cycle(all, last), PolicyQuestion(ById));

  const std::string& id = all.back().policyId;
  auto* const sqlite = dynamic_cast<SqliteCatalogue*>(warm.Find(kSqlite));
  Measure("by_id_last/sqlite_unindexed", sqlite,
          [sqlite, id] { return sqlite->BlobByIdUnindexed(id); });
  Measure("by_id_last/sqlite_scan", sqlite, [sqlite, id] { return sqlite->BlobByIdScanning(id); });
  auto* const lmdb = dynamic_cast<LmdbCatalogue*>(warm.Find(kLmdb));
  Measure("by_id_last/lmdb_scan", lmdb, [lmdb, id] { return lmdb->BlobByIdScanning(id); });
}

// The library's lookups by datastore, and what they are made of: a look at the datastore, or two,
// and a lookup by identifier.
void RegisterLookupsByDatastore(const Warm& warm) {
  const Cycle assigned(warm.workload.datastores, warm.workload.datastoreOrder);
  const Cycle unassigned(warm.workload.datastores, warm.workload.unassignedOrder);
  const DatastoreQuestion onDatastore = [](Catalogue* catalogue, const auto& datastore) {
    return catalogue->BlobOnDatastore(datastore.defaultPolicyId, datastore.url);
  };
  const DatastoreQuestion defaultBlob = [](Catalogue* catalogue, const auto& datastore) {
    return catalogue->DefaultBlob(datastore.url);
  };
  const DatastoreQuestion byIdOfDefault = [](Catalogue* catalogue, const auto& datastore) {
    return catalogue->BlobById(datastore.defaultPolicyId);
  };
  for (const Opened& asked : warm.all) {
    MeasureInTurn("on_datastore", asked, assigned, onDatastore);
    MeasureInTurn("default_blob", asked, assigned, defaultBlob);
  }
  for (const Opened* asked : warm.Library()) {
    MeasureInTurn("datastore_alone", *asked, unassigned, defaultBlob);
    MeasureInTurn("by_id", *asked, assigned, byIdOfDefault);
  }
}

std::string BytesOf(const Policies& policies) {
  std::string bytes;
  for (const auto& policy : policies) {
    bytes += policy.name + policy.policyId + policy.description;
    bytes += std::to_string(policy.generationNumber);
    for (const auto& [blob, blobNamespace] : policy.blobs)
      bytes += blobNamespace + blob;
  }
  return bytes;
}

// As many bytes as the digests are computed over: those of the records, and for each record its
// digest as text.
std::string DigestedBytes(const Workload& workload) {
  std::string bytes = BytesOf(workload.policies);
  for (const auto& datastore : workload.datastores)
    bytes += datastore.url + datastore.datastoreNamespace + datastore.defaultPolicyId;
  bytes.append(32 * (workload.policies.size() + workload.datastores.size()), '0');
  return bytes;
}

void RegisterDigests(const Warm& warm) {
  for (const Opened& asked : warm.all) {
    Catalogue* const catalogue = asked.catalogue.get();
    Measure("digest/" + asked.name, catalogue, [catalogue] { return DigestsOf(catalogue); });
  }
  const auto bytes = std::make_shared<std::string>(DigestedBytes(warm.workload));
  for (const Opened* asked : warm.Library()) {
    Catalogue* const catalogue = asked->catalogue.get();
    Measure("digest/floor_" + asked->name, catalogue, [catalogue, bytes] {
      benchmark::DoNotOptimize(catalogue->ListPolicies());
      benchmark::DoNotOptimize(catalogue->ListDatastores());
      unsigned char digest[kCryptoHashMd5Size];
      CryptoHash_ComputeMD5(bytes->data(), bytes->size(), digest);
      return digest[0];
    });
  }
}

void RegisterListings(const Warm& warm) {
  for (const Opened& asked : warm.all) {
    Catalogue* const catalogue = asked.catalogue.get();
    Measure("list_policies/" + asked.name, catalogue,
            [catalogue] { return catalogue->ListPolicies(); });
    Measure("list_datastores/" + asked.name, catalogue,
            [catalogue] { return catalogue->ListDatastores(); });
  }
  auto* const sqlite = dynamic_cast<SqliteCatalogue*>(warm.Find(kSqlite));
  Measure("list_policies/sqlite_one_by_one", sqlite,
          [sqlite] { return sqlite->ListPoliciesOneByOne(); });
  const Workload& workload = warm.workload;
  Measure("list_policies/copy", nullptr, [&workload] { return Policies(workload.policies); });
  Measure("list_datastores/copy", nullptr, [&workload] { return Datastores(workload.datastores); });
  const auto bytes = std::make_shared<std::string>(BytesOf(workload.policies));
  const auto target = std::make_shared<std::string>(*bytes);
  Measure("list_policies/memcpy", nullptr, [bytes, target] {
    std::memcpy(target->data(), bytes->data(), bytes->size());
    return target->data();
  });
}

void RegisterInit(const Warm& warm) {
  for (const Opened* asked : warm.Library()) {
    Measure("init/" + asked->name, asked->catalogue.get(), [] {
      QuorLib::Init();
      return 0;
    });
  }
}

}  // namespace

void MeasureWarm(const Options& options) {
  const Workload workload = MakeWorkload(options.size);
  const TemporaryDirectory directory(options.directory);
  const std::vector<std::string> contestants = ContestantsFor(options.size);
  LoadAll(contestants, directory.path(), workload);

  Warm warm{workload, directory.path(), {}};
  for (const std::string& contestant : contestants) {
    auto catalogue = OpenCatalogue(contestant, directory.path());
    // Each record is read once, so that the check of its checksum and the parse are not in the
    // numbers.
    RequireSameAnswers(catalogue.get(), workload);
    warm.all.push_back({contestant, std::move(catalogue)});
  }
  RegisterInit(warm);
  RegisterLookups(warm);
  RegisterScans(warm);
  RegisterLookupsByDatastore(warm);
  RegisterListings(warm);
  RegisterDigests(warm);

  for (const auto& [key, value] : DescribeRun(options.size))
    benchmark::AddCustomContext(key, value);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}

}  // namespace Bench
