// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "workload.h"

#include <cstdint>
#include <cstdio>
#include <random>
#include <utility>

namespace Bench {
namespace {

// Its numbers are fixed by the standard, those of the standard's distributions are not.
using Random = std::mt19937_64;

std::string RandomBytes(std::size_t size, Random* random) {
  std::string bytes(size, '\0');
  for (char& byte : bytes)
    byte = static_cast<char>((*random)() >> 56);
  return bytes;
}

std::string RandomIdentifier(Random* random) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string identifier = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
  for (char& c : identifier) {
    if (c == 'x') c = kDigits[(*random)() >> 60];
  }
  return identifier;
}

std::string Numbered(const char* format, std::size_t number) {
  char text[64];
  std::snprintf(text, sizeof text, format, static_cast<unsigned long>(number));
  return text;
}

std::string NamespaceOf(std::size_t blob) {
  return blob == 0 ? "RILK" : Numbered("namespace-%02lu", blob);
}

TavQuor::QuorPolicyInfo MakePolicy(std::size_t number, const WorkloadSize& size, Random* random) {
  TavQuor::QuorPolicyInfo policy;
  policy.name = Numbered("Storage tier %06lu", number);
  policy.policyId = RandomIdentifier(random);
  policy.description = policy.name + ": replicated twice, thin, encrypted at rest";
  policy.generationNumber = static_cast<std::int64_t>((*random)() % 1000);
  for (std::size_t blob = 0; blob < size.blobsPerPolicy; ++blob) {
    policy.blobs.emplace_back(RandomBytes(size.blobSize, random), NamespaceOf(blob));
  }
  return policy;
}

std::vector<std::size_t> ShuffledNumbers(std::size_t count, Random* random) {
  std::vector<std::size_t> numbers(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t other = (*random)() % (i + 1);
    numbers[i] = numbers[other];
    numbers[other] = i;
  }
  return numbers;
}

}  // namespace

Workload MakeWorkload(const WorkloadSize& size) {
  Random random(20230517);
  Workload workload;
  for (std::size_t number = 0; number < size.policies; ++number) {
    const auto& policy = workload.policies.emplace_back(MakePolicy(number, size, &random));
    for (std::size_t i = 0; i < size.datastoresPerPolicy; ++i) {
      TavQuor::QuorDatastoreInfo datastore;
      datastore.url = Numbered("ds:///volumes/%012lx/", number * size.datastoresPerPolicy + i);
      datastore.datastoreNamespace = policy.blobs[i % policy.blobs.size()].second;
      datastore.defaultPolicyId = policy.policyId;
      workload.datastores.push_back(std::move(datastore));
    }
  }
  workload.assignedDatastores = workload.datastores.size();
  for (std::size_t number = 0; number <= size.policies / 10; ++number) {
    workload.datastores.push_back({Numbered("ds:///unassigned/%012lx/", number), "RILK", ""});
  }
  workload.policyOrder = ShuffledNumbers(workload.policies.size(), &random);
  workload.datastoreOrder = ShuffledNumbers(workload.assignedDatastores, &random);
  workload.unassignedOrder =
      ShuffledNumbers(workload.datastores.size() - workload.assignedDatastores, &random);
  for (std::size_t& number : workload.unassignedOrder)
    number += workload.assignedDatastores;
  return workload;
}

}  // namespace Bench
