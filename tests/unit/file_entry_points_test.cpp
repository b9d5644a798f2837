// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The entry points that compose primitives, over the configuration file; and the digests of equal
// records in the file and in the store.
#include "support/file_fixture.h"
#include "support/reference_digest.h"

namespace QuorTest {
namespace {

using TavQuor::QuorLib;

class FileEntryPoints : public FileTest {};

TEST_F(FileEntryPoints, GetDefaultPolicyBlobReadsDefaultIdThenNamespaceThenBlobUnderThreeLocks) {
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///a"), "G-vol");
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   "SynchronizedConfigFile",
                                   "GetBranch /Quor/Datastore-Info",
                                   "GetArray /Quor/Datastore-Info Datastore",
                                   "GetInstances Datastore",
                                   "GetValue Datastore[0] url: text",
                                   "GetValue Datastore[0] url: text",
                                   "GetValue Datastore[0] default-policy-id: text",
                                   "Unlock",
                                   "SynchronizedConfigFile",
                                   "GetBranch /Quor/Datastore-Info",
                                   "GetArray /Quor/Datastore-Info Datastore",
                                   "GetInstances Datastore",
                                   "GetValue Datastore[0] url: text",
                                   "GetValue Datastore[0] datastore-namespace: text",
                                   "Unlock",
                                   "SynchronizedConfigFile",
                                   "GetBranch /Quor/Policy-Info",
                                   "GetArray /Quor/Policy-Info policy",
                                   "GetInstances policy",
                                   "GetValue policy[0] policy-id: text",
                                   "GetArray policy[0] blobs",
                                   "GetInstances policy[0].blobs",
                                   "GetValue policy[0].blobs[0] datastore-namespace: text",
                                   "GetValue policy[0].blobs[1] datastore-namespace: text",
                                   "GetValue policy[0].blobs[1] blob: text",
                                   R"(Base64_EasyDecode "Ry12b2w=")",
                                   "Unlock",
                               }));
}

TEST_F(FileEntryPoints, GetDefaultPolicyBlobOfAnUnknownUrlLooksUpNoNamespace) {
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///none"), "");
  EXPECT_EQ(ThePlatform().locks, 1);
}

TEST_F(FileEntryPoints, GetDefaultPolicyBlobOfTheEmptyUrlTouchesNothing) {
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob(""), "");
  EXPECT_EQ(ThePlatform().log, Lines());
}

// Unlike the configuration store, which answers an empty namespace by itself.
TEST_F(FileEntryPoints, GetPolicyBlobByIdOfAnUnknownOrEmptyUrlAnswersFromTheEmptyNamespace) {
  EXPECT_EQ(QuorLib::GetPolicyBlobById("id-1", "ds:///none"), "");
  EXPECT_EQ(ThePlatform().locks, 2);
  ThePlatform().file = InFile({Policy("n", "id-1", "", 0, {{"v", "vol"}, {"empty", ""}})}, {});
  EXPECT_EQ(QuorLib::GetPolicyBlobById("id-1", "ds:///none"), "empty");
  EXPECT_EQ(QuorLib::GetPolicyBlobById("id-1", ""), "empty");
}

TEST_F(FileEntryPoints, RilkLookupsUseTheNamespaceRilkWhateverTheDatastoresHave) {
  ThePlatform().file =
      InFile({Policy("n", "i", "", 0, {{"other", "rilk"}, {"blob", "RILK"}, {"third", "vol"}})},
             {Datastore("ds:///a", "vol", "i"), Datastore("ds:///b", "rilk", "i")});
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("i"), "blob");
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobByName("n"), "blob");
  EXPECT_EQ(CallsOf("GetBranch"), Lines(2, "GetBranch /Quor/Policy-Info"));
}

TEST_F(FileEntryPoints, GetDbHashListsPoliciesThenDatastoresUnderTwoLocksAndWritesNothing) {
  EXPECT_EQ(QuorLib::GetDbHash(), std::make_pair(std::string("c6c8a9a412ed8388d4877a186f4feda6"),
                                                 std::string("3e44728d5a9e2f5e4fe33b177d9ead89")));
  EXPECT_EQ(CallsOf("GetBranch"),
            (Lines{"GetBranch /Quor/Policy-Info", "GetBranch /Quor/Datastore-Info"}));
  EXPECT_EQ(ThePlatform().locks, 2);
  EXPECT_EQ(CallsOf("Write"), Lines());
}

TEST_F(FileEntryPoints, GetDbHashLeavesOutWhatTheListingsLeaveOut) {
  PolicyAt(ThePlatform().file, 0).values.erase("generation-number");
  DatastoreAt(ThePlatform().file, 1).values.erase("default-policy-id");
  EXPECT_EQ(QuorLib::GetDbHash(),
            std::make_pair(ReferencePolicyDigest({SamplePolicies()[1]}),
                           ReferenceDatastoreDigest({SampleDatastores()[0]})));
}

// These call the configuration store, too.
class DigestOverBothBackends : public RecordingTest {
 protected:
  using Digests = std::pair<std::string, std::string>;

  static Digests AddAndHash(unsigned char switchValue, const Policies& policies,
                            const Datastores& datastores) {
    SetConfigStoreSwitch(switchValue);
    QuorLib::AddPolicyInfo(policies);
    QuorLib::AddDatastoreInfo(datastores);
    return QuorLib::GetDbHash();
  }
};

TEST_F(DigestOverBothBackends, EqualRecordsHaveEqualDigestsInTheFileAndInTheStore) {
  Policies policies = SamplePolicies();
  policies.push_back(Policy("bare", "id-0", "", -2147483648LL, {}));
  policies.push_back(
      Policy("bytes", "id-3", "\xff\n", 2147483647, {{HostileBytes(), HostileBytes()}, {"", "x"}}));
  const Datastores datastores = {Datastore("ds:///b", HostileBytes(), ""),
                                 Datastore("ds:///a", "", "id-1"), Datastore("", "", "")};
  const Digests inStore = AddAndHash(1, policies, datastores);
  EXPECT_EQ(AddAndHash(0, policies, datastores), inStore);
  EXPECT_EQ(inStore.first, ReferencePolicyDigest(policies));
  EXPECT_EQ(inStore.second.size(), 32U);

  policies[2].description = "changed";
  EXPECT_NE(AddAndHash(0, policies, datastores).first, inStore.first);
}

TEST_F(DigestOverBothBackends, EmptyCatalogueIsTwoEmptyStringsInBoth) {
  EXPECT_EQ(AddAndHash(1, {}, {}), Digests());
  EXPECT_EQ(AddAndHash(0, {}, {}), Digests());
}

}  // namespace
}  // namespace QuorTest
