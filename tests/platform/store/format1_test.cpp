// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A snapshot of format 1, as version 1.0.0 wrote it: read by this version and by a program that
// knows constant databases, replaced, and damaged.
#include <cdb.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <string>

#include "services/bytes.h"
#include "services/checksum.h"
#include "support/host_test.h"
#include "tavconfigstore/value_search.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

// Bytes of the footer, and where its numbers stand in it.
constexpr std::size_t kFooterSize = 48;
constexpr std::size_t kKindCount = 12;
constexpr std::size_t kTables = 16;
constexpr std::size_t kDirectory = 24;
constexpr std::size_t kFileSize = 32;
constexpr std::size_t kChecksum = 40;

constexpr char kKindOfPolicies[] = "3:tav,7:storage,13:quor_policies,";

class SnapshotOfFormat1 : public HostTest {
 protected:
  SnapshotOfFormat1() : bytes_(ReadFile(PLATFORM_TESTS_FORMAT1)) {
    mkdir(HostPath().c_str(), 0755);
    StoreBytes(bytes_);
  }

  void StoreBytes(const std::string& bytes) const {
    unlink(SnapshotPath().c_str());
    WriteFile(SnapshotPath(), bytes);
  }
  // With one byte changed where the text stands, the nth time that it does.
  void DamageAt(const std::string& text, int times = 1) {
    std::size_t place = bytes_.find(text);
    for (; times > 1; --times)
      place = bytes_.find(text, place + 1);
    ASSERT_NE(place, std::string::npos);
    std::string damaged = bytes_;
    damaged[place] = static_cast<char>(damaged[place] ^ 1);
    StoreBytes(damaged);
  }

  // With a number of the footer or of the directory changed and the checksum right again, as by
  // somebody who means harm. A place in the directory counts from its start.
  template <typename Integer>
  std::string Forge(bool inDirectory, std::size_t place, Integer number) const {
    std::string forged = bytes_;
    const std::size_t footer = forged.size() - kFooterSize;
    const auto tables = HostPlatform::LoadInteger<std::uint64_t>(&forged[footer + kTables]);
    const auto directory = HostPlatform::LoadInteger<std::uint64_t>(&forged[footer + kDirectory]);
    HostPlatform::StoreInteger(number, &forged[place + (inDirectory ? directory : footer)]);
    const std::string_view all = forged;
    const std::string_view index = all.substr(tables, forged.size() - 8 - tables);
    const std::uint64_t checksum =
        HostPlatform::Checksum(index, HostPlatform::Checksum(all.substr(0, 2048)));
    HostPlatform::StoreInteger(checksum, &forged[footer + kChecksum]);
    return forged;
  }

  std::uint32_t Version() const {
    const std::string stored = ReadFile(SnapshotPath());
    return HostPlatform::LoadInteger<std::uint32_t>(stored.data() + stored.size() - 40);
  }

  static ConfigStoreObjectId Policy(const std::string& name) {
    return {"quor_policies", "storage", "tav", name};
  }
  static ConfigStoreObjectId Datastore(const std::string& url) {
    return {"quor_datastores", "storage", "tav", url};
  }
  static Object FindById(const std::string& policyId) {
    const Store store = OpenStore();
    return dynamic_cast<ValueSearch&>(*store).FindFirst(Policy(""), "policy_id", policyId);
  }
  static std::string NameOf(const Object& object) {
    std::string name;
    if (object) object->GetValue("name", &name);
    return name;
  }

  std::string bytes_;
};

TEST_F(SnapshotOfFormat1, IsReadLikeOneOfTheNewest) {
  ASSERT_EQ(Version(), 1U);
  const Store store = OpenStore();
  EXPECT_EQ(NameOf(store->GetObject(Policy("Gold"))), "Gold");
  EXPECT_EQ(store->GetObject(Policy("Silver")), nullptr);
  EXPECT_EQ(store->GetObjects(std::make_shared<FilterSpecObject>(Policy(""))).size(), 4U);
  EXPECT_NE(store->GetObject(Datastore("ds:///shares/mail/")), nullptr);
  EXPECT_EQ(NameOf(FindById("gold-01")), "Gold");
  EXPECT_EQ(FindById("gold-02"), nullptr);
  EXPECT_EQ(HostPlatform::GetConfigStoreState().problem, "");
}

TEST_F(SnapshotOfFormat1, IsAConstantDatabase) {
  const int file = open(SnapshotPath().c_str(), O_RDONLY | O_CLOEXEC);
  struct cdb database;
  ASSERT_EQ(cdb_init(&database, file), 0);
  const std::string key = std::string(kKindOfPolicies) + "Gold";
  ASSERT_GT(cdb_find(&database, key.data(), static_cast<unsigned>(key.size())), 0);
  const std::string data(static_cast<const char*>(cdb_getdata(&database)), cdb_datalen(&database));
  EXPECT_NE(data.find("gold-01"), std::string::npos);
  EXPECT_EQ(cdb_find(&database, "Gold", 4), 0);
  cdb_free(&database);
  close(file);
}

TEST_F(SnapshotOfFormat1, IsReplacedByOneOfTheNewestFormatWithAllItsRecords) {
  Put(OpenStore(), "new", "text");
  EXPECT_EQ(Version(), 2U);
  EXPECT_EQ(NameOf(OpenStore()->GetObject(Policy("Gold"))), "Gold");
  EXPECT_EQ(NameOf(FindById("gold-01")), "Gold");
  EXPECT_EQ(Get(OpenStore(), "new"), "text");
}

// Its key may be damaged: any lookup of its kind that finds nothing might have meant it.
TEST_F(SnapshotOfFormat1, WithADamagedRecordRaisesForWhatItDoesNotFindOfThatKind) {
  DamageAt("Description of Gold");
  const Store store = OpenStore();
  EXPECT_EQ(CodeOf([&] { store->GetObject(Policy("Gold")); }), kCorrupt);
  EXPECT_EQ(CodeOf([&] { store->GetObject(Policy("Silver")); }), kCorrupt);
  EXPECT_EQ(CodeOf([&] { FindById("gold-01"); }), kCorrupt);
  EXPECT_EQ(CodeOf([&] { FindById("absent"); }), kCorrupt);
  EXPECT_EQ(CodeOf([&] { FindById("worte"); }), kCorrupt) << "the damaged one comes before";
  EXPECT_NE(store->GetObject(Policy("base64:R29sZA==")), nullptr);
  EXPECT_NE(store->GetObject(Datastore("ds:///shares/mail/")), nullptr);
  EXPECT_EQ(store->GetObject(Datastore("ds:///absent/")), nullptr) << "of another kind";
  EXPECT_EQ(WriteCode(), kCorrupt) << "it is not carried over";
  store->DeleteObjects(std::make_shared<FilterSpecObject>(Policy("")));
  EXPECT_EQ(WriteCode(), kNothing) << "replacing the kind heals it";
}

TEST_F(SnapshotOfFormat1, WithAnyByteChangedGivesNoWrongAnswer) {
  const std::string gold = "Gold";
  for (std::size_t place = 0; place < bytes_.size(); place += place < 3000 ? 1 : 997) {
    std::string damaged = bytes_;
    damaged[place] = static_cast<char>(damaged[place] ^ 0x10);
    StoreBytes(damaged);
    std::string name = gold, byId = gold;
    std::size_t count = 4;
    const auto code = CodeOf([&] {
      const Store store = OpenStore();
      count = store->GetObjects(std::make_shared<FilterSpecObject>(Policy(""))).size();
      name = NameOf(store->GetObject(Policy("Gold")));
      byId = NameOf(FindById("gold-01"));
    });
    ASSERT_TRUE(code == kNothing || code == kCorrupt || code == kUnsupported) << place;
    ASSERT_EQ(name, gold) << place;
    ASSERT_EQ(byId, gold) << place;
    ASSERT_EQ(count, 4U) << place;
  }
}

TEST_F(SnapshotOfFormat1, ThatIsForgedIsRefusedWithItsReason) {
  const auto refusal = [&](const std::string& forged) -> std::string {
    StoreBytes(forged);
    try {
      OpenStore()->GetObject(Policy("Gold"));
      return "";
    } catch (const ConfigStoreException& failure) {
      return failure.what();
    }
  };
  const auto expect = [&](const std::string& forged, const char* reason) {
    const std::string found = refusal(forged);
    EXPECT_NE(found.find(reason), std::string::npos) << found << "; expected: " << reason;
  };
  const std::uint64_t size = bytes_.size();
  ASSERT_EQ(refusal(Forge(false, kFileSize, size)), "") << "nothing was changed";

  expect(Forge(false, kFileSize, size + 1), "bytes and not");
  expect(Forge(false, kDirectory, size), "points outside of it");
  expect(Forge(false, kDirectory, std::uint64_t{0}), "points outside of it");
  expect(Forge(false, kTables, std::uint64_t{0}), "points outside of it");
  expect(Forge(false, kKindCount, 1U), "too long");
  expect(Forge(false, kKindCount, 9U), "cut short");
  const std::size_t firstPosition = 8 + sizeof kKindOfPolicies - 1;
  expect(Forge(true, 4, 0xffffffU), "cut short");
  expect(Forge(true, firstPosition + 4, 1U), "not in the order");
  expect(Forge(true, firstPosition, 0U), "not in the order");
}

// Of the last record, so that the directory stays in order: it is like a damaged one.
TEST_F(SnapshotOfFormat1, WithAForgedPlaceOfARecordRaisesForThatKind) {
  const std::size_t lastPosition = bytes_.size() - kFooterSize - 4;
  const auto directory =
      HostPlatform::LoadInteger<std::uint64_t>(&bytes_[lastPosition + 4 + kDirectory]);
  StoreBytes(Forge(true, lastPosition - directory, 0xffffffU));
  const Store store = OpenStore();
  EXPECT_EQ(CodeOf([&] { store->GetObject(Datastore("ds:///absent/")); }), kCorrupt);
  EXPECT_EQ(NameOf(store->GetObject(Policy("Gold"))), "Gold");
}

TEST_F(SnapshotOfFormat1, CutShortIsRefused) {
  for (std::size_t length = bytes_.size() - 1; length > 100; length -= 97) {
    StoreBytes(bytes_.substr(0, length));
    ASSERT_EQ(OpenCode(), kCorrupt) << length;
  }
}

}  // namespace
}  // namespace PlatformTest
