// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Catalogues for the fault loop: small ones, so that every call of an operation can be failed.
#ifndef TESTS_STRESS_FAULT_CATALOGUE_H_
#define TESTS_STRESS_FAULT_CATALOGUE_H_

#include <string>
#include <vector>

#include "quor/quor_lib.h"
#include "support/random.h"

namespace StressTest {

struct Catalogue {
  std::vector<TavQuor::QuorPolicyInfo> policies;
  std::vector<TavQuor::QuorDatastoreInfo> datastores;
};

// `mark` stands in every record, so that no two catalogues have one in common. The first policy has
// a blob for "RILK" and is the default of the first datastore.
Catalogue MakeCatalogue(const std::string& mark, PlatformTest::Random* random);

// One text for each value.
std::vector<std::string> TextsOf(const std::vector<TavQuor::QuorPolicyInfo>& policies);
std::string TextOf(const std::vector<TavQuor::QuorPolicyInfo>& policies);
std::string TextOf(const std::vector<TavQuor::QuorDatastoreInfo>& datastores);

// What the library lists now.
std::string StoredCatalogue();

}  // namespace StressTest

#endif  // TESTS_STRESS_FAULT_CATALOGUE_H_
