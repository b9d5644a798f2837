// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The stored bytes, looked at without the store: what is on the disks of hosts must stay readable.
#include <gtest/gtest.h>
#include <unistd.h>

#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "services/bytes.h"
#include "services/checksum.h"
#include "store/object_key.h"
#include "store/snapshot.h"
#include "support/child_process.h"
#include "support/host_test.h"

namespace PlatformTest {
namespace {

using namespace std::string_literals;  // NOLINT(google-build-using-namespace): embedded NULs

class StoredFormat : public HostTest {
 protected:
  // The records, one after the other, as keys and data; up to where the footer says that they end.
  std::vector<std::pair<std::string, std::string>> Records() const {
    const std::string bytes = ReadFile(SnapshotPath());
    const auto end = HostPlatform::LoadInteger<std::uint64_t>(bytes.data() + bytes.size() - 80);
    std::vector<std::pair<std::string, std::string>> records;
    for (std::size_t at = 0; at < end;) {
      const auto keySize = HostPlatform::LoadInteger<std::uint32_t>(&bytes[at]);
      const auto dataSize = HostPlatform::LoadInteger<std::uint32_t>(&bytes[at + 4]);
      records.emplace_back(bytes.substr(at + 8, keySize), bytes.substr(at + 8 + keySize, dataSize));
      at += 8 + std::size_t{keySize} + dataSize;
    }
    return records;
  }
  std::uint64_t SnapshotKey() const {
    const std::string bytes = ReadFile(SnapshotPath());
    return HostPlatform::LoadInteger<std::uint64_t>(bytes.data() + bytes.size() - 32);
  }
  std::optional<std::string> Find(const std::string& key) const {
    for (auto& [stored, data] : Records()) {
      if (stored == key) return data;
    }
    return std::nullopt;
  }
};

// With the checksum that ends a record's data.
std::string Seal(const std::string& key, const std::string& data, std::uint64_t snapshotKey) {
  std::uint64_t checksum = HostPlatform::Checksum(key + data, snapshotKey + key.size());
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
  EXPECT_EQ(Find(key), Seal(key, data, SnapshotKey()));
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
  EXPECT_EQ(footer.substr(8, 8), "\2\0\0\0\1\0\0\0"s);      // version, kinds
  const std::string root = "\x49\0\0\0\0\0\0\0\1\0\0\0"s +  // end of the records, their number
                           "\1\0\0\0\1\0\0\0\1\0\0\0\1\0\0\0\0\0\0\0"s;
  EXPECT_EQ(bytes.substr(bytes.size() - 48 - 32, 32), root);
  const std::string kinds = "\x1d\0\0\0\1\0\0\0"s + "5:tests,8:platform,7:volumes,";
  EXPECT_EQ(bytes.substr(bytes.size() - 48 - 32 - kinds.size(), kinds.size()), kinds);
  EXPECT_EQ(bytes.size(), 0x49U + 3 * 4096 + kinds.size() + 32 + 48);
}

TEST_F(StoredFormat, HasAKeyOfItsOwnInEachSnapshot) {
  std::set<std::string> keys;
  for (int i = 0; i < 20; ++i) {
    Put(OpenStore(), "a", "1");
    const std::string bytes = ReadFile(SnapshotPath());
    keys.insert(bytes.substr(bytes.size() - 32, 8));
  }
  EXPECT_EQ(keys.size(), 20U);
}

TEST_F(StoredFormat, HasTheSameRecordsWhoeverWritesThem) {
  const auto withoutChecksums = [&] {
    auto records = Records();
    for (auto& [key, data] : records)
      data.resize(data.size() - 8);
    return records;
  };
  const auto store = [] {
    Put(OpenStore(), "a", "1");
    Put(OpenStore(), "b", "2");
    Put(OpenStore(), "c", "3", kOtherKind);
  };
  store();
  const auto first = withoutChecksums();
  ASSERT_EQ(unlink(SnapshotPath().c_str()), 0);
  HostPlatform::UseHostDirectory(HostPath());
  RunInChild(store);
  EXPECT_TRUE(withoutChecksums() == first);
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
        "1:c,1:g,9:k,", "01:c,1:g,1:k,", "00:,1:g,1:k,", "x:c,1:g,1:k,", "-1:c,1:g,1:k,",
        "1,c,1:g,1:k,", "1:c:1:g,1:k,", "18446744073709551615:c,1:g,1:k,",
        "99999999999999999999:c,1:g,1:k,", ":c,1:g,1:k,"}) {
    EXPECT_FALSE(TavConfigStore::DecodeKind(bytes).ok) << bytes;
  }
}

}  // namespace
}  // namespace PlatformTest
