// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Records, and what the store holds for them.
#ifndef TESTS_UNIT_SUPPORT_CATALOGUE_H_
#define TESTS_UNIT_SUPPORT_CATALOGUE_H_

#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "quor/quor_lib.h"
#include "recording/platform.h"

namespace TavQuor {

bool operator==(const QuorPolicyInfo& a, const QuorPolicyInfo& b);
bool operator==(const QuorDatastoreInfo& a, const QuorDatastoreInfo& b);
void PrintTo(const QuorPolicyInfo& policy, std::ostream* out);
void PrintTo(const QuorDatastoreInfo& datastore, std::ostream* out);

}  // namespace TavQuor

namespace QuorTest {

using Policies = std::vector<TavQuor::QuorPolicyInfo>;
using Datastores = std::vector<TavQuor::QuorDatastoreInfo>;
using Blobs = std::vector<std::pair<std::string, std::string>>;  // (blob, namespace)

TavQuor::QuorPolicyInfo Policy(std::string name, std::string id, std::string description,
                               std::int64_t generation, Blobs blobs);
TavQuor::QuorDatastoreInfo Datastore(std::string url, std::string datastoreNamespace,
                                     std::string defaultPolicyId);

// The object under which a record is stored. Nothing is left out and nothing is merged.
Recording::StoredObject Stored(const TavQuor::QuorPolicyInfo& policy);
Recording::StoredObject Stored(const TavQuor::QuorDatastoreInfo& datastore);
Recording::StoredSet Stored(const Policies& policies, const Datastores& datastores);

// Two policies with two blobs and one blob, and two datastores whose default policies they are.
Policies SamplePolicies();
Datastores SampleDatastores();

// Bytes that break whatever treats a byte string as text.
std::string HostileBytes();

}  // namespace QuorTest

#endif  // TESTS_UNIT_SUPPORT_CATALOGUE_H_
