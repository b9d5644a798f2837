// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Catalogues, and both backends under one switch.
#ifndef TESTS_CONFIGFILE_BACKEND_CATALOGUE_H_
#define TESTS_CONFIGFILE_BACKEND_CATALOGUE_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/feature_list.h"
#include "quor/quor_lib.h"
#include "support.h"

namespace TavQuor {

bool operator==(const QuorPolicyInfo& a, const QuorPolicyInfo& b);
bool operator==(const QuorDatastoreInfo& a, const QuorDatastoreInfo& b);
void PrintTo(const QuorPolicyInfo& policy, std::ostream* out);
void PrintTo(const QuorDatastoreInfo& datastore, std::ostream* out);

}  // namespace TavQuor

namespace ConfigFileTest {

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;
using Policies = std::vector<QuorPolicyInfo>;
using Datastores = std::vector<QuorDatastoreInfo>;
using Digests = std::pair<std::string, std::string>;

enum class Kind { kStore, kFile };

// For the whole host.
void Switch(Kind kind);

QuorPolicyInfo Policy(const std::string& id,
                      std::vector<std::pair<std::string, std::string>> blobs = {},
                      std::int64_t generation = 0);
Policies SomePolicies(int count = 12);
Datastores SomeDatastores(int count = 20);

std::string EveryByte();

}  // namespace ConfigFileTest

#endif  // TESTS_CONFIGFILE_BACKEND_CATALOGUE_H_
