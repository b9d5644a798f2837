// The stored bytes, looked at without the store: what is on the disks of hosts must stay readable.
#include <cdb.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <optional>
#include <string>

#include "configstore/object_key.h"
#include "configstore/snapshot.h"
#include "support/child_process.h"
#include "support/host_test.h"
#include "util/checksum.h"

namespace PlatformTest {
namespace {

using namespace std::string_literals;  // NOLINT(google-build-using-namespace): embedded NULs

class StoredFormat : public HostTest {
 protected:
  // What a program that knows constant databases, and nothing of the store, finds under the key.
  std::optional<std::string> Find(const std::string& key) const {
    const int file = open(SnapshotPath().c_str(), O_RDONLY | O_CLOEXEC);
    struct cdb database;
    EXPECT_EQ(cdb_init(&database, file), 0);
    std::optional<std::string> data;
    if (cdb_find(&database, key.data(), static_cast<unsigned>(key.size())) > 0) {
      data.emplace(static_cast<const char*>(cdb_getdata(&database)), cdb_datalen(&database));
    }
    cdb_free(&database);
    close(file);
    return data;
  }
};

// The checksum that ends a record's data.
std::string Seal(const std::string& key, const std::string& data) {
  std::uint64_t checksum = HostPlatform::Checksum(key + data, key.size());
  std::string sealed = data;
  for (int i = 0; i < 8; ++i, checksum >>= 8)
    sealed.push_back(static_cast<char>(checksum));
  return sealed;
}

TEST_F(StoredFormat, OfARecordIsTheDocumentedOne) {
  const auto object = std::make_shared<ConfigStoreObject>(
      ConfigStoreObjectId("quor_policies", "storage", "tav", "Gold tier"));
  object->SetValue("text", "ab");
  object->SetValue("number", -2LL);
  object->CreateSubObject(SubObjectId("blobs", "RILK"))->SetValue("blob", "\0\xff"s);
  OpenStore()->SetObject(object, 0);
  const std::string key = "3:tav,7:storage,13:quor_policies,Gold tier";
  const std::string data =
      "\1\0\0\0\0"                                                // version, number
      "\2\0\0\0\1\0\0\0"                                          // values, sub-objects
      "s\4\0\0\0\2\0\0\0textab"                                   // a string
      "i\6\0\0\0\x8\0\0\0number\xfe\xff\xff\xff\xff\xff\xff\xff"  // an integer
      "\5\0\0\0\4\0\0\0\x17\0\0\0"                                // a sub-object
      "blobsRILK"
      "\1\0\0\0\0\0\0\0"
      "s\4\0\0\0\2\0\0\0blob\0\xff"s;
  EXPECT_EQ(Find(key), Seal(key, data));
  EXPECT_EQ(Find("Gold tier"), std::nullopt);
}

TEST_F(StoredFormat, NumbersRecordsInTheOrderOfTheirKindAndFirstWrite) {
  Put(OpenStore(), "b", "1");
  Put(OpenStore(), "a", "2", kOtherKind);
  Put(OpenStore(), "a", "3");
  const std::string kind = "5:tests,8:platform,7:volumes,";
  EXPECT_EQ(Find(kind + "b")->substr(1, 4), "\0\0\0\0"s);
  EXPECT_EQ(Find(kind + "a")->substr(1, 4), "\1\0\0\0"s);
  EXPECT_EQ(Find("5:tests,8:platform,5:hosts,a")->substr(1, 4), "\2\0\0\0"s);
}

TEST_F(StoredFormat, EndsWithTheDocumentedFooter) {
  Put(OpenStore(), "a", "1");
  const std::string bytes = ReadFile(SnapshotPath());
  const std::string footer = bytes.substr(bytes.size() - 48);
  EXPECT_EQ(footer.substr(0, 8), "QCFSTOR1");
  EXPECT_EQ(footer.substr(8, 8), "\1\0\0\0\1\0\0\0"s);  // version, kinds
  const std::string directory =
      "\x1d\0\0\0\1\0\0\0"s + "5:tests,8:platform,7:volumes," + "\0\x8\0\0"s;
  EXPECT_EQ(bytes.substr(bytes.size() - 48 - directory.size(), directory.size()), directory);
}

TEST_F(StoredFormat, DependsOnNothingButWhatIsStored) {
  const auto store = [] {
    Put(OpenStore(), "a", "1");
    Put(OpenStore(), "b", "2");
    Put(OpenStore(), "c", "3", kOtherKind);
  };
  store();
  const std::string first = ReadFile(SnapshotPath());
  ASSERT_EQ(unlink(SnapshotPath().c_str()), 0);
  RunInChild(store);
  EXPECT_TRUE(ReadFile(SnapshotPath()) == first);
}

// By what a process tells whether it has the newest file mapped already.

TEST_F(StoredFormat, OfANewFileIsRecognisedByItsInodeSizeAndTimes) {
  Put(OpenStore(), "a", "1");
  const auto snapshot = TavConfigStore::Snapshot::Open(SnapshotPath());
  const struct stat same = StatusOf(SnapshotPath());
  EXPECT_TRUE(snapshot->IsOf(same));
  void (*const changes[])(struct stat*) = {[](struct stat* status) { ++status->st_ino; },
                                           [](struct stat* status) { ++status->st_dev; },
                                           [](struct stat* status) { ++status->st_size; },
                                           [](struct stat* status) { ++status->st_mtim.tv_nsec; },
                                           [](struct stat* status) { ++status->st_mtim.tv_sec; },
                                           [](struct stat* status) { ++status->st_ctim.tv_nsec; },
                                           [](struct stat* status) { ++status->st_ctim.tv_sec; }};
  for (const auto& change : changes) {
    struct stat other = same;
    change(&other);
    EXPECT_FALSE(snapshot->IsOf(other)) << "change " << &change - changes;
  }
}

// The pieces that make keys.

TEST(EncodedKind, ComesBackWhateverTheBytes) {
  const std::string strings[] = {"", "a", ",", "1:a,", "\0"s, "\xff", std::string(70'000, ':')};
  for (const std::string& key : strings) {
    for (const std::string& group : strings) {
      for (const std::string& component : strings) {
        const std::string kind = TavConfigStore::EncodeKind({key, group, component});
        const auto decoded = TavConfigStore::DecodeKind(kind);
        EXPECT_TRUE(decoded.ok && decoded.key == key && decoded.group == group &&
                    decoded.component == component);
      }
    }
  }
}

TEST(EncodedKind, DoesNotDependOnTheInstance) {
  EXPECT_EQ(TavConfigStore::EncodeKind({"k", "g", "c", "instance"}),
            TavConfigStore::EncodeKind({"k", "g", "c"}));
  EXPECT_EQ(TavConfigStore::EncodeKind({"k", "g", "c"}), "1:c,1:g,1:k,");
}

TEST(EncodedKind, OtherBytesAreNotOne) {
  for (const char* bytes :
       {"", "1", "1:", "1:c", "1:c,", "1:c,1:g,", "1:c,1:g,1:k", "1:c,1:g,1:k,x", "1:c,1:g,2:k,",
        "1:c,1:g,9:k,", "x:c,1:g,1:k,", "-1:c,1:g,1:k,", "1,c,1:g,1:k,", "1:c:1:g,1:k,",
        "18446744073709551615:c,1:g,1:k,", "99999999999999999999:c,1:g,1:k,", ":c,1:g,1:k,"}) {
    EXPECT_FALSE(TavConfigStore::DecodeKind(bytes).ok) << bytes;
  }
}

}  // namespace
}  // namespace PlatformTest
