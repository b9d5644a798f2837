// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Identifiers and names that are equal but for what follows a NUL, in both stores.
#include "configfile/backend.h"
#include "configstore/backend.h"
#include "support/file_fixture.h"

namespace QuorTest {
namespace {

const std::string kFirst("a\0b!", 4);
const std::string kSecond("a\0c!", 4);
const std::string kUnknown("a\0d!", 4);

Policies AlikeUpToTheNul() {
  return {Policy(kFirst, kFirst, "", 1, {{"first", "vol"}}),
          Policy(kSecond, kSecond, "", 1, {{"second", "vol"}})};
}

using Lookup = std::string (*)(const std::string&, const std::string&);

void ExpectEachIsFound(Lookup lookup) {
  EXPECT_EQ(lookup(kFirst, "vol"), "first");
  EXPECT_EQ(lookup(kSecond, "vol"), "second");
  EXPECT_EQ(lookup(kUnknown, "vol"), "");
  EXPECT_EQ(lookup("a", "vol"), "");
}

class Identifiers : public RecordingTest {};

TEST_F(Identifiers, InTheStoreAreComparedBeyondTheirFirstNul) {
  ThePlatform().stored = Stored(AlikeUpToTheNul(), {});
  ExpectEachIsFound(TavQuor::ConfigStoreBackend::kBackend.GetPolicyBlob);
  ExpectEachIsFound(TavQuor::ConfigStoreBackend::kBackend.GetPolicyBlobByName);
}

TEST_F(Identifiers, OfDatastoresAreTheWholeUrls) {
  const Datastores datastores = {Datastore(kFirst, "first", "p"),
                                 Datastore(kSecond, "second", "q")};
  TavQuor::QuorLib::AddDatastoreInfo(datastores);
  EXPECT_EQ(ThePlatform().stored, Stored({}, datastores));
  EXPECT_EQ(TavQuor::ConfigStoreBackend::kBackend.GetDatastoreNamespace(kSecond), "second");
  EXPECT_EQ(TavQuor::ConfigStoreBackend::kBackend.GetDatastoreNamespace("a"), "");
}

class FileIdentifiers : public FileTest {};

TEST_F(FileIdentifiers, AndNamesInTheFileAreComparedBeyondTheirFirstNul) {
  ThePlatform().file = InFile(AlikeUpToTheNul(), {});
  ExpectEachIsFound(TavQuor::ConfigFileBackend::kBackend.GetPolicyBlob);
  ExpectEachIsFound(TavQuor::ConfigFileBackend::kBackend.GetPolicyBlobByName);
}

TEST_F(FileIdentifiers, OfBlobsAreNamespacesComparedBeyondTheirFirstNul) {
  ThePlatform().file =
      InFile({Policy("n", "i", "", 1, {{"first", kFirst}, {"second", kSecond}})}, {});
  const Lookup lookup = TavQuor::ConfigFileBackend::kBackend.GetPolicyBlob;
  EXPECT_EQ(lookup("i", kSecond), "second");
  EXPECT_EQ(lookup("i", kUnknown), "");
}

// An empty namespace is a namespace here: the blob lookup is made with it.
TEST_F(FileIdentifiers, DefaultBlobOfADatastoreWithoutANamespaceIsThatOfTheEmptyOne) {
  ThePlatform().file = InFile({Policy("n", "i", "", 1, {{"other", "vol"}, {"blob", ""}})},
                              {Datastore("ds:///a", "", "i")});
  EXPECT_EQ(TavQuor::QuorLib::GetDefaultPolicyBlob("ds:///a"), "blob");
  EXPECT_EQ(TavQuor::QuorLib::GetPolicyBlobById("i", "ds:///a"), "blob");
}

// So is an empty identifier.
TEST_F(FileIdentifiers, EmptyOneIsLookedUpOnADatastore) {
  ThePlatform().file =
      InFile({Policy("n", "", "", 1, {{"blob", "vol"}})}, {Datastore("ds:///a", "vol", "")});
  EXPECT_EQ(TavQuor::QuorLib::GetPolicyBlobById("", "ds:///a"), "blob");
}

}  // namespace
}  // namespace QuorTest
