// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The indexes of a snapshot where there is more than one page of them.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "store/index_page.h"
#include "store/object_key.h"
#include "store/snapshot.h"
#include "store/snapshot_writer.h"
#include "support/host_test.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): all of it

constexpr std::uint64_t kKey = 0x0123456789abcdef;

class SnapshotIndexes : public HostTest {
 protected:
  SnapshotIndexes() : kind_(EncodeKind({"kind", "tests", "platform"})) {}

  // One value, "id", of each record, whose instance is its identifier.
  std::shared_ptr<const Snapshot> Write(const std::vector<std::string>& ids) {
    const std::string path = temporary_.PathOf("snapshot");
    unlink(path.c_str());
    const HostPlatform::Io::FileDescriptor file(AT_FDCWD, path.c_str(), O_RDWR | O_CREAT, 0600);
    std::vector<EncodedRecord> records;
    records.reserve(ids.size());
    for (const std::string& id : ids) {
      ObjectContents contents(std::string(kind_), "", id);
      SetValue("id", id, &contents.values);
      records.push_back(EncodeRecord(contents));
    }
    SnapshotWriter writer(file, path, kKey);
    if (!ids.empty()) writer.BeginKind(kind_);
    for (const EncodedRecord& record : records)
      writer.Add(record.instance(), record.body());
    writer.Finish();
    bytes_ = ReadFile(path);
    return Snapshot::Open(path);
  }

  // Each is found by its name and by its value, and others are not.
  static void ExpectFound(const Snapshot& snapshot, const std::vector<std::string>& ids) {
    const Snapshot::Kind& kind = snapshot.kinds().at(0);
    for (std::uint32_t i = 0; i < ids.size(); ++i) {
      ASSERT_EQ(snapshot.Find(kind, ids[i]), i);
      ASSERT_EQ(snapshot.FindFirst(kind, "id", ids[i]), i);
      ASSERT_EQ(snapshot.Find(kind, ids[i] + "-"), std::nullopt);
      ASSERT_EQ(snapshot.FindFirst(kind, "id", ids[i] + "-"), std::nullopt);
      ASSERT_EQ(snapshot.FindFirst(kind, "ID", ids[i]), std::nullopt);
    }
    EXPECT_NO_THROW(snapshot.CheckPages());
  }

  std::string kind_;
  std::string bytes_;
};

TEST_F(SnapshotIndexes, LeadToEachOfManyRecords) {
  std::vector<std::string> ids;
  for (const std::size_t count : {1, 2, 237, 238, 239, 340, 341, 1021, 1022, 1023, 20'000}) {
    while (ids.size() < count)
      ids.push_back("policy-" + std::to_string(ids.size()));
    ExpectFound(*Write(ids), ids);
  }
}

// Names that all belong to one page fill it and go on in the pages behind, past the last of them.
TEST_F(SnapshotIndexes, LeadToRecordsWhosePageIsFull) {
  constexpr std::uint32_t kHomePages = 3;
  const std::uint64_t kind = HashOfKind(kind_, kKey);
  for (std::uint32_t page = 0; page < kHomePages; ++page) {
    std::vector<std::string> ids;
    for (int i = 0; ids.size() < 700; ++i) {
      std::string id = std::to_string(i);
      if (HomePage(HashOfRecord(id, kind), kHomePages) == page) ids.push_back(std::move(id));
    }
    const auto snapshot = Write(ids);
    const std::size_t root = bytes_.size() - 48 - 32;
    ASSERT_EQ(HostPlatform::LoadInteger<std::uint32_t>(&bytes_[root + 12]), kHomePages);
    EXPECT_EQ(HostPlatform::LoadInteger<std::uint32_t>(&bytes_[root + 16]), page + 3U)
        << "700 names need three pages from there on";
    ExpectFound(*snapshot, ids);
  }
}

TEST_F(SnapshotIndexes, OfASnapshotWithoutRecordsAreThere) {
  const auto snapshot = Write({});
  EXPECT_TRUE(snapshot->kinds().empty());
  EXPECT_EQ(snapshot->FindKind(kind_), nullptr);
  EXPECT_NO_THROW(snapshot->CheckPages());
}

TEST_F(SnapshotIndexes, AreTheSameBytesForTheSameContentAndKey) {
  const std::vector<std::string> ids = {"a", "b", "same", "c"};
  Write(ids);
  const std::string first = bytes_;
  Write(ids);
  EXPECT_TRUE(bytes_ == first);
  EXPECT_EQ(HostPlatform::Checksum(first), 15987331853745734543U)
      << "the bytes are those of every machine";
}

}  // namespace
}  // namespace PlatformTest
