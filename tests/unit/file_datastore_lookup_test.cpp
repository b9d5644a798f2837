// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The two datastore lookups in the configuration file: the namespace and the default policy.
#include "support/backends.h"
#include "support/file_fixture.h"

namespace QuorTest {
namespace {

// One of the two lookups, and what it reads.
struct DatastoreValue {
  std::string name;
  std::string (*find)(const std::string& url);
  std::string key;
  int urlReads;  // of each instance
};

class FileDatastoreLookup : public FileTest, public testing::WithParamInterface<DatastoreValue> {
 protected:
  static std::string Find(const std::string& url) { return GetParam().find(url); }

  // A datastore that answers `value`, and not if another value is read.
  static TavQuor::QuorDatastoreInfo Answering(const std::string& url, const std::string& value) {
    return GetParam().key == "default-policy-id" ? Datastore(url, "another value", value)
                                                 : Datastore(url, value, "another value");
  }

  static void StoreDatastores(const Datastores& datastores) {
    ThePlatform().file = InFile(SamplePolicies(), datastores);
  }

  static std::string ReadingUrlOf(int instance) {
    return "GetValue Datastore[" + std::to_string(instance) + "] url: text";
  }

  static std::string ReadingValueOf(int instance) {
    return "GetValue Datastore[" + std::to_string(instance) + "] " + GetParam().key + ": text";
  }

  static Lines Scan(const std::vector<std::string>& calls) {
    Lines whole = {"SynchronizedConfigFile", "GetBranch /Quor/Datastore-Info",
                   "GetArray /Quor/Datastore-Info Datastore", "GetInstances Datastore"};
    for (const std::string& call : calls) {
      const bool isUrl = call.ends_with(" url: text");
      whole.insert(whole.end(), static_cast<std::size_t>(isUrl ? GetParam().urlReads : 1), call);
    }
    whole.push_back("Unlock");
    return whole;
  }
};

TEST_P(FileDatastoreLookup, ReadsUrlsUntilOneMatchesAndThenTheValue) {
  StoreDatastores({Answering("ds:///a", "first"), Answering("ds:///b", "second"),
                   Answering("ds:///c", "third")});
  EXPECT_EQ(Find("ds:///b"), "second");
  EXPECT_EQ(ThePlatform().log, Scan({ReadingUrlOf(0), ReadingUrlOf(1), ReadingValueOf(1)}));
}

TEST_P(FileDatastoreLookup, UnknownUrlIsEmptyAndReadsNoValue) {
  EXPECT_EQ(Find("ds:///none"), "");
  EXPECT_EQ(ThePlatform().log, Scan({ReadingUrlOf(0), ReadingUrlOf(1)}));
}

TEST_P(FileDatastoreLookup, HandlesAreReleasedBeforeTheLockArrayFirstThenBranch) {
  Find("ds:///a");
  const Lines& releases = ThePlatform().releases;
  ASSERT_GE(releases.size(), 3U);
  EXPECT_EQ(Lines(releases.end() - 3, releases.end()),
            (Lines{"Datastore", "/Quor/Datastore-Info", "Unlock"}));
}

// Also where an instance stores an empty URL.
TEST_P(FileDatastoreLookup, EmptyUrlIsAnsweredWithoutTouchingTheFile) {
  StoreDatastores({Answering("", "never")});
  EXPECT_EQ(Find(""), "");
  EXPECT_EQ(ThePlatform().log, Lines());
  EXPECT_EQ(ThePlatform().locks, 0);
}

TEST_P(FileDatastoreLookup, EmptyFileIsEmpty) {
  ThePlatform().file.clear();
  EXPECT_EQ(Find("ds:///a"), "");
  EXPECT_EQ(ThePlatform().log, Scan({}));
}

TEST_P(FileDatastoreLookup, FirstOfTwoInstancesWithOneUrlAnswers) {
  StoreDatastores({Answering("ds:///a", "first"), Answering("ds:///a", "second")});
  EXPECT_EQ(Find("ds:///a"), "first");
  EXPECT_EQ(CallsOf("GetValue Datastore[1]"), Lines());
}

TEST_P(FileDatastoreLookup, InstanceWithoutTheValueIsPassedOverForALaterOneOfTheUrl) {
  StoreDatastores({Answering("ds:///a", "gone"), Answering("ds:///b", "other"),
                   Answering("ds:///a", "later"), Answering("ds:///a", "last")});
  DatastoreAt(ThePlatform().file, 0).values.erase(GetParam().key);
  EXPECT_EQ(Find("ds:///a"), "later");
  EXPECT_EQ(ThePlatform().log, Scan({ReadingUrlOf(0), ReadingValueOf(0), ReadingUrlOf(1),
                                     ReadingUrlOf(2), ReadingValueOf(2)}));
}

TEST_P(FileDatastoreLookup, OnlyInstanceWithoutTheValueIsEmpty) {
  DatastoreAt(ThePlatform().file, 0).values.erase(GetParam().key);
  EXPECT_EQ(Find("ds:///a"), "");
  EXPECT_EQ(ThePlatform().log, Scan({ReadingUrlOf(0), ReadingValueOf(0), ReadingUrlOf(1)}));
}

TEST_P(FileDatastoreLookup, StoredEmptyValueIsTheAnswer) {
  StoreDatastores({Answering("ds:///a", ""), Answering("ds:///a", "later")});
  EXPECT_EQ(Find("ds:///a"), "");
  EXPECT_EQ(CallsOf("GetValue Datastore[1]"), Lines());
}

TEST_P(FileDatastoreLookup, InstanceWithoutAUrlIsPassedOver) {
  StoreDatastores({Answering("ds:///a", "first"), Answering("ds:///a", "second")});
  DatastoreAt(ThePlatform().file, 0).values.erase("url");
  EXPECT_EQ(Find("ds:///a"), "second");
}

TEST_P(FileDatastoreLookup, UrlsAreComparedWholeWithCaseLengthAndZeroBytes) {
  const std::string zero("u\0x", 3);
  StoreDatastores({Answering("u ", "long"), Answering(zero, "zero"), Answering("u", "plain")});
  EXPECT_EQ(Find("u"), "plain");
  EXPECT_EQ(Find("u "), "long");
  EXPECT_EQ(Find(zero), "zero");
  EXPECT_EQ(Find("U"), "");
  EXPECT_EQ(Find(std::string("u\0y", 3)), "");
}

TEST_P(FileDatastoreLookup, AnyBytesAreAnswered) {
  StoreDatastores({Answering(HostileBytes(), HostileBytes() + "1")});
  EXPECT_EQ(Find(HostileBytes()), HostileBytes() + "1");
}

TEST_P(FileDatastoreLookup, FileExceptionIsRaisedHereAfterExactlyOneUnlock) {
  FailCallsOf("GetValue Datastore[0]", Failure::kFileException);
  EXPECT_EQ(Attempt([] { Find("ds:///b"); }), Unchanged(Failure::kFileException));
  EXPECT_EQ(LastOf(ThePlatform().log), "Unlock");
  EXPECT_EQ(ThePlatform().unlocks, 1);
}

INSTANTIATE_TEST_SUITE_P(
    , FileDatastoreLookup,
    testing::Values(DatastoreValue{"Namespace", kFileBackend.GetDatastoreNamespace,
                                   "datastore-namespace", 1},
                    DatastoreValue{"DefaultPolicyId", kFileBackend.GetDatastoreDefaultPolicyId,
                                   "default-policy-id", 2}),
    [](const testing::TestParamInfo<DatastoreValue>& value) { return value.param.name; });

// Changes the URL of the first datastore just before it is read for the `read`th time.
void ChangeUrlAtRead(int read, const std::function<void(std::string&)>& change) {
  ThePlatform().duringStoreCall = [reads = 0, read, change](int, const std::string& line) mutable {
    if (line != "GetValue Datastore[0] url: text" || ++reads != read) return;
    change(DatastoreAt(ThePlatform().openFile, 0).values["url"]);
  };
}

class FileDefaultPolicyIdLookup : public FileTest {};

TEST_F(FileDefaultPolicyIdLookup, SecondReadOfTheUrlIsTheOneThatCounts) {
  ChangeUrlAtRead(2, [](std::string& url) { url = "ds:///new"; });
  EXPECT_EQ(kFileBackend.GetDatastoreDefaultPolicyId("ds:///a"), "");
  ChangeUrlAtRead(2, [](std::string& url) { url = "ds:///new"; });
  EXPECT_EQ(kFileBackend.GetDatastoreDefaultPolicyId("ds:///new"), "id-1");
}

TEST_F(FileDefaultPolicyIdLookup, UrlThatOnlyTheFirstReadFindsIsNoMatch) {
  ThePlatform().duringStoreCall = [reads = 0](int, const std::string& line) mutable {
    if (line != "GetValue Datastore[0] url: text" || ++reads != 2) return;
    DatastoreAt(ThePlatform().openFile, 0).values.erase("url");
  };
  EXPECT_EQ(kFileBackend.GetDatastoreDefaultPolicyId("ds:///a"), "");
}

TEST_F(FileDefaultPolicyIdLookup, UrlThatOnlyTheSecondReadFindsIsAMatch) {
  DatastoreAt(ThePlatform().file, 0).values.erase("url");
  ChangeUrlAtRead(2, [](std::string& url) { url = "ds:///a"; });
  EXPECT_EQ(kFileBackend.GetDatastoreDefaultPolicyId("ds:///a"), "id-1");
}

TEST_F(FileDefaultPolicyIdLookup, FailureOfEitherReadIsRaised) {
  for (const int failing : {1, 2}) {
    ThePlatform().log.clear();
    ThePlatform().duringStoreCall = [reads = 0, failing](int, const std::string& line) mutable {
      if (line == "GetValue Datastore[0] url: text" && ++reads == failing) {
        Raise(Failure::kFileException);
      }
    };
    EXPECT_EQ(Attempt([] { kFileBackend.GetDatastoreDefaultPolicyId("ds:///a"); }),
              Unchanged(Failure::kFileException));
    EXPECT_EQ(CallsOf("GetValue").size(), static_cast<std::size_t>(failing));
    EXPECT_EQ(CallsOf("Unlock").size(), 1U);
  }
}

}  // namespace
}  // namespace QuorTest
