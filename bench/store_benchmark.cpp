#include "store_benchmark.h"

#include <sys/stat.h>

#include <string>
#include <utility>

#include "floor.h"
#include "measurement.h"
#include "platform/admin.h"
#include "platform/crypto_hash.h"

namespace Bench {

using TavQuor::QuorLib;

namespace {

// A call of the library, with its records in `host`, which outlives the measurements. Each record
// was read before, so that the check of its checksum at its first use is not in the numbers.
template <typename Call>
Measurement* MeasureLibrary(const std::string& name, const std::string& host, Call call) {
  return Measure(
      name,
      [&host] {
        HostPlatform::UseHostDirectory(host);
        benchmark::DoNotOptimize(QuorLib::GetDbHash());
      },
      std::move(call));
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

// As many bytes as the digests are computed over: those of the records, and for each record its
// digest as text.
std::string DigestedBytes(const Workload& workload) {
  std::string bytes;
  for (const auto& policy : workload.policies) {
    bytes += policy.name + policy.policyId + policy.description;
    bytes += std::to_string(policy.generationNumber);
    for (const auto& [blob, blobNamespace] : policy.blobs)
      bytes += blobNamespace + blob;
  }
  for (const auto& datastore : workload.datastores)
    bytes += datastore.url + datastore.datastoreNamespace + datastore.defaultPolicyId;
  bytes.append(32 * (workload.policies.size() + workload.datastores.size()), '0');
  return bytes;
}

void RegisterListings(Contestants& on) {
  MeasureLibrary("list/library", on.host, [] { return QuorLib::ListPolicyInfo(); });
  Measure("list/sqlite", [&on] { return on.database.ListPolicies(); });
  Measure("list/sqlite_one_by_one", [&on] { return on.database.ListPoliciesOneByOne(); });
  Measure("list/floor", [&on] { return Policies(on.workload.policies); });
  MeasureLibrary("digest/library", on.host, [] { return QuorLib::GetDbHash(); });
  Measure(
      "digest/floor", [&on] { HostPlatform::UseHostDirectory(on.host); },
      [bytes = DigestedBytes(on.workload)] {
        benchmark::DoNotOptimize(QuorLib::ListPolicyInfo());
        benchmark::DoNotOptimize(QuorLib::ListDatastoreInfo());
        unsigned char digest[kCryptoHashMd5Size];
        CryptoHash_ComputeMD5(bytes.data(), bytes.size(), digest);
        return digest[0];
      });
  Measure("digest/sqlite",
          [&on] { return DbHashOf(on.database.ListPolicies(), on.database.ListDatastores()); });
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
