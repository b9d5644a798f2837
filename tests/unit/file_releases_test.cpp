// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// In which order the handles to the configuration file are released: what an instance holds before
// the instance, the instances before their array.
#include "support/backends.h"
#include "support/file_fixture.h"

namespace QuorTest {
namespace {

class FileReleases : public FileTest {
 protected:
  template <typename Call>
  static Lines Of(const Call& call) {
    ThePlatform().releases.clear();
    call();
    return ThePlatform().releases;
  }
};

TEST_F(FileReleases, OfWrittenInstancesComeBeforeTheNextInstance) {
  EXPECT_EQ(Of([] { kFileBackend.AddPolicyInfo(SamplePolicies()); }),
            (Lines{"policy[0].blobs[0]", "policy[0].blobs[1]", "policy[0].blobs", "policy[0]",
                   "policy[1].blobs[0]", "policy[1].blobs", "policy[1]", "policy",
                   "/Quor/Policy-Info", "Unlock"}));
  EXPECT_EQ(Of([] { kFileBackend.AddDatastoreInfo(SampleDatastores()); }),
            (Lines{"Datastore[0]", "Datastore[1]", "Datastore", "/Quor/Datastore-Info", "Unlock"}));
}

TEST_F(FileReleases, OfListedInstancesComeBeforeTheirArray) {
  EXPECT_EQ(Of([] { kFileBackend.ListPolicyInfo(); }),
            (Lines{"policy[0].blobs[0]", "policy[0].blobs[1]", "policy[0].blobs",
                   "policy[1].blobs[0]", "policy[1].blobs", "policy[0]", "policy[1]", "policy",
                   "/Quor/Policy-Info", "Unlock"}));
  EXPECT_EQ(Of([] { kFileBackend.ListDatastoreInfo(); }),
            (Lines{"Datastore[0]", "Datastore[1]", "Datastore", "/Quor/Datastore-Info", "Unlock"}));
}

TEST_F(FileReleases, OfSearchedInstancesComeBeforeTheirArray) {
  EXPECT_EQ(Of([] { kFileBackend.GetPolicyBlob("id-1", "vol"); }),
            (Lines{"policy[0].blobs[0]", "policy[0].blobs[1]", "policy[0].blobs", "policy[0]",
                   "policy[1]", "policy", "/Quor/Policy-Info", "Unlock"}));
  EXPECT_EQ(Of([] { kFileBackend.GetDatastoreNamespace("ds:///a"); }),
            (Lines{"Datastore[0]", "Datastore[1]", "Datastore", "/Quor/Datastore-Info", "Unlock"}));
}

TEST_F(FileReleases, OfResetAreAllBeforeTheLockThatTheyBelongTo) {
  EXPECT_EQ(Of([] { kFileBackend.Reset(); }),
            (Lines{"policy", "/Quor/Policy-Info", "Unlock", "/Quor/Datastore-Info", "Unlock"}));
}

}  // namespace
}  // namespace QuorTest
