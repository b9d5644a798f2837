// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// How the backend of the configuration store makes identifiers and objects.
#include <gtest/gtest.h>

#include "configstore/datastores.h"
#include "configstore/policies.h"
#include "seam/host.h"

const std::string TavConfigStore::kEmptyString;
const std::string TavConfigStore::sGlobalNamespace = "global";

namespace Seam {
namespace {

using namespace TavQuor::ConfigStoreBackend;

const std::string kPolicyFilter = "filter (quor_policies, storage, tav)";
const std::string kDatastoreFilter = "filter (quor_datastores, storage, tav)";
const std::string kStored = "object (a, stored, one)";

TEST(Identifiers, OfAWholeKindAreMadeOfThreePartsAndNoInstanceIsAssigned) {
  EXPECT_EQ(LogOf([] { AddPolicyInfo({}); }), Lines{kPolicyFilter});
  EXPECT_EQ(LogOf([] { AddDatastoreInfo({}); }), Lines{kDatastoreFilter});
  EXPECT_EQ(LogOf([] { ListDatastoreInfo(); }), (Lines{kDatastoreFilter, kStored}));
  EXPECT_EQ(LogOf([] { GetPolicyBlob("id", "vol"); }), (Lines{kPolicyFilter, kStored}));
}

TEST(Identifiers, OfAllBlobsOfAPolicyAreMadeOfFourParts) {
  EXPECT_EQ(LogOf([] { ListPolicyInfo(); }),
            (Lines{kPolicyFilter, kStored, "filter (blobs, , , )"}));
}

TEST(Identifiers, OfOneObjectAreMadeOfThreePartsAndTheInstanceIsAssigned) {
  EXPECT_EQ(LogOf([] { GetPolicyBlobByName("gold", "vol"); }),
            (Lines{"get (quor_policies, storage, tav)=gold", kStored, "part (blobs, vol)"}));
  EXPECT_EQ(LogOf([] { GetDatastoreNamespace("ds:///a"); }),
            (Lines{"get (quor_datastores, storage, tav)=ds:///a", kStored}));
  EXPECT_EQ(LogOf([] { GetDatastoreDefaultPolicyId("ds:///a"); }),
            (Lines{"get (quor_datastores, storage, tav)=ds:///a", kStored}));
}

// Also where it is empty: an empty name is a name.
TEST(Identifiers, OfWrittenObjectsHaveTheirInstanceAssigned) {
  TavQuor::QuorPolicyInfo policy;
  policy.name = "gold";
  policy.blobs = {{"blob", "vol"}};
  EXPECT_EQ(LogOf([&policy] {
              AddPolicyInfo({policy, TavQuor::QuorPolicyInfo()});
            }),
            (Lines{kPolicyFilter, "object (quor_policies, storage, tav)=gold",
                   "new part (blobs, vol)", "object (quor_policies, storage, tav)="}));
  TavQuor::QuorDatastoreInfo datastore;
  datastore.url = "ds:///a";
  EXPECT_EQ(LogOf([&datastore] { AddDatastoreInfo({datastore}); }),
            (Lines{kDatastoreFilter, "object (quor_datastores, storage, tav)=ds:///a"}));
}

}  // namespace
}  // namespace Seam
