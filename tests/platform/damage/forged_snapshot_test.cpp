// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Files whose checksums are right and whose lengths, counts and positions mean harm: whatever they
// say, the answer is an exception or an object, never a crash or a read outside of the file.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "damage/damage_test.h"
#include "damage/forgery.h"
#include "store/snapshot_format.h"
#include "tavconfigstore/value_search.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

constexpr std::uint32_t kHuge = 0xffffffff;

class ForgedSnapshot : public DamageTest {
 protected:
  ForgedSnapshot() : forgery_(bytes_) {}

  // Where in the body the fields of the first record ("alpha") stand.
  std::size_t Body() const { return forgery_.records()[0].body; }
  std::size_t FirstValue() const { return Body() + 8; }

  // The store cannot be opened.
  void ExpectRefused() {
    StoreBytes(forgery_.Sealed());
    EXPECT_EQ(OpenCode(), kCorrupt);
    EXPECT_EQ(WriteCode(), kCorrupt);
    EXPECT_NE(HostPlatform::GetConfigStoreState().problem, "");
    forgery_ = Forgery(bytes_);
  }

  // The store opens, but the first record cannot be read; the others can.
  void ExpectFirstRecordRefused() {
    StoreBytes(forgery_.Sealed());
    ASSERT_EQ(OpenCode(), kNothing);
    EXPECT_EQ(CodeOf([] { Describe(OpenStore()->GetObject(IdOf("alpha"))); }), kCorrupt);
    const auto listed = OpenStore()->GetObjects(All());
    ASSERT_EQ(listed.size(), 3U);
    EXPECT_EQ(CodeOf([&] { Describe(listed[0]); }), kCorrupt);
    EXPECT_EQ(TextOf(listed[2]), "text of beta");
    EXPECT_EQ(WriteCode(), kCorrupt) << "it must not be carried over into the next snapshot";
    forgery_ = Forgery(bytes_);
  }

  Forgery forgery_;
};

TEST_F(ForgedSnapshot, WithNothingChangedIsRead) {
  StoreBytes(forgery_.Sealed());
  EXPECT_TRUE(forgery_.bytes() == bytes_);
  EXPECT_FALSE(AskEverything().raised);
}

TEST_F(ForgedSnapshot, WithWrongStartsOfItsPartsIsRefused) {
  const std::size_t kinds = forgery_.footer() + 24;
  for (const std::uint64_t start : {std::uint64_t{0}, std::uint64_t{2047}, std::uint64_t{kHuge},
                                    ~std::uint64_t{0}, std::uint64_t{1} << 32}) {
    forgery_.Set64(kinds, start);
    ExpectRefused();
    forgery_.Set64(forgery_.root(), start);  // the end of the records
    ExpectRefused();
  }
  forgery_.Set64(kinds, forgery_.kinds() + 1);
  ExpectRefused();
  forgery_.Set64(kinds, forgery_.footer());
  ExpectRefused();
}

TEST_F(ForgedSnapshot, WithWrongNumbersOfRecordsOrPagesIsRefused) {
  for (const std::size_t field : {8, 12, 16, 20, 24}) {
    for (const std::uint32_t number : {0U, 2U, 1023U, 0x80000000U, kHuge}) {
      forgery_.Set32(forgery_.root() + field, number);
      ExpectRefused();
    }
  }
}

TEST_F(ForgedSnapshot, WithAWrongSizeIsRefused) {
  for (const std::uint64_t size : {std::uint64_t{0}, std::uint64_t{bytes_.size() + 1},
                                   (std::uint64_t{1} << 32) + bytes_.size(), ~std::uint64_t{0}}) {
    forgery_.Set64(forgery_.footer() + 32, size);
    ExpectRefused();
  }
}

TEST_F(ForgedSnapshot, WithAWrongNumberOfKindsIsRefused) {
  for (const std::uint32_t count : {0U, 1U, 3U, 0x80000000U, kHuge}) {
    forgery_.Set32(forgery_.footer() + 12, count);
    ExpectRefused();
  }
}

// Its records would be lost at the next commit.
TEST_F(ForgedSnapshot, WithOneKindTwiceIsRefused) {
  std::filesystem::remove(SnapshotPath());
  HostPlatform::UseHostDirectory(HostPath());
  Put(OpenStore(), "a", "1", "one");
  Put(OpenStore(), "b", "2", "two");
  bytes_ = ReadFile(SnapshotPath());
  forgery_ = Forgery(bytes_);
  const std::size_t first = forgery_.kinds();
  const std::size_t second = first + 8 + forgery_.Get32(first);
  ASSERT_EQ(forgery_.Get32(first), forgery_.Get32(second)) << "the names are of one length";
  for (std::size_t i = 0; i < forgery_.Get32(first); ++i) {
    forgery_.SetByte(second + 8 + i, static_cast<unsigned char>(forgery_.bytes()[first + 8 + i]));
  }
  ExpectRefused();
}

TEST_F(ForgedSnapshot, WithAKindThatIsSpelledInAnotherWayIsRefused) {
  const std::size_t name = forgery_.kinds() + 8;
  ASSERT_EQ(forgery_.bytes().substr(name, 8), "5:tests,");
  const std::string other = "03:test,";
  for (std::size_t i = 0; i < other.size(); ++i)
    forgery_.SetByte(name + i, static_cast<unsigned char>(other[i]));
  ExpectRefused();
}

TEST_F(ForgedSnapshot, WithWrongLengthsInItsListOfKindsIsRefused) {
  for (const std::uint32_t length : {0U, 1U, 1000U, 0x40000000U, 0x80000000U, kHuge}) {
    forgery_.Set32(forgery_.kinds(), length);  // of a kind's name
    ExpectRefused();
    forgery_.Set32(forgery_.kinds() + 4, length);  // its number of records
    ExpectRefused();
  }
}

TEST_F(ForgedSnapshot, WithWrongPositionsOfRecordsRaisesWhereTheyAreRead) {
  const std::size_t firstPosition = forgery_.page(0);
  ASSERT_EQ(forgery_.Get32(firstPosition), 0U);
  for (const std::size_t position :
       {std::size_t{1}, std::size_t{7}, forgery_.records()[1].position,
        forgery_.records()[1].position + 1, forgery_.recordsEnd(), forgery_.recordsEnd() - 8,
        forgery_.footer(), bytes_.size() - 1, bytes_.size(), std::size_t{0x80000000U},
        std::size_t{kHuge - 7}, std::size_t{kHuge}}) {
    forgery_.Set32(firstPosition, static_cast<std::uint32_t>(position));
    ExpectFirstRecordRefused();
  }
}

TEST_F(ForgedSnapshot, WithWrongLengthsInTheHeadOfARecordRaisesWhereItIsRead) {
  const std::size_t head = forgery_.records()[0].position;
  for (const std::uint32_t length : {0U, 1U, 12U, 100'000U, 0x7fffffffU, 0x80000000U, kHuge}) {
    forgery_.Set32(head, length);
    ExpectFirstRecordRefused();
    forgery_.Set32(head + 4, length);
    ExpectFirstRecordRefused();
    forgery_.Set32(head, length);
    forgery_.Set32(head + 4, kHuge - length);
    ExpectFirstRecordRefused();
  }
}

TEST_F(ForgedSnapshot, WithARecordOfAnotherVersionOrNumberRaisesWhereItIsRead) {
  for (const unsigned char version : {'\0', '\2', '\x7f'}) {
    forgery_.SetByte(forgery_.records()[0].data, version);
    ExpectFirstRecordRefused();
  }
  for (const std::uint32_t number : {1U, 3U, 5U, kHuge}) {
    forgery_.Set32(forgery_.records()[0].data + 1, number);
    ExpectFirstRecordRefused();
  }
}

TEST_F(ForgedSnapshot, WithARecordOfAnotherKindRaisesWhereItIsRead) {
  // The kind's name within the record's key is not the one that the directory gives.
  forgery_.SetByte(forgery_.records()[0].key, '6');
  ExpectFirstRecordRefused();
}

TEST_F(ForgedSnapshot, WithWrongCountsInABodyRaisesWhereItIsRead) {
  for (const std::uint32_t count : {0U, 1U, 2U, 4U, 100U, 0x80000000U, kHuge}) {
    forgery_.Set32(Body(), count);  // of values
    ExpectFirstRecordRefused();
    forgery_.Set32(Body() + 4, count);  // of sub-objects
    ExpectFirstRecordRefused();
  }
}

TEST_F(ForgedSnapshot, WithWrongLengthsOfAValueRaisesWhereItIsRead) {
  for (const std::uint32_t length : {3U, 100U, 10'000U, 0x80000000U, kHuge - 8, kHuge}) {
    forgery_.Set32(FirstValue() + 1, length);  // of its name
    ExpectFirstRecordRefused();
    forgery_.Set32(FirstValue() + 5, length);  // of its data
    ExpectFirstRecordRefused();
  }
}

TEST_F(ForgedSnapshot, WithAValueOfUnknownTypeRaisesWhereItIsRead) {
  for (const unsigned char type : {'\0', 'x', 'S', '\x7f'}) {
    forgery_.SetByte(FirstValue(), type);
    ExpectFirstRecordRefused();
  }
}

// As long as an integer, which it is not.
TEST_F(ForgedSnapshot, WithAValueOfUnknownTypeAnd8BytesRaisesWhereItIsRead) {
  std::size_t integer = FirstValue();
  while (forgery_.bytes()[integer] != 'i' || forgery_.Get32(integer + 5) != 8)
    ++integer;
  ASSERT_LT(integer, forgery_.records()[0].checksum);
  for (const unsigned char type : {'\0', 'x', 'I', '\x7f'}) {
    forgery_.SetByte(integer, type);
    ExpectFirstRecordRefused();
  }
}

TEST_F(ForgedSnapshot, WithAnIntegerThatIsNotOf8BytesRaisesWhereItIsRead) {
  ASSERT_EQ(forgery_.Get32(FirstValue() + 5), 0U) << "the value named \"\" is the empty string";
  forgery_.SetByte(FirstValue(), 'i');
  ExpectFirstRecordRefused();
}

TEST_F(ForgedSnapshot, WithWrongLengthsOfASubObjectRaisesWhereItIsRead) {
  const std::size_t part = forgery_.bytes().find("part1", Body()) - 12;
  ASSERT_EQ(forgery_.Get32(part), 4U);
  for (const std::size_t field : {0, 4, 8}) {
    for (const std::uint32_t length : {0U, 7U, 1000U, 0x80000000U, kHuge}) {
      forgery_.Set32(part + field, length);
      ExpectFirstRecordRefused();
    }
  }
}

TEST_F(ForgedSnapshot, WithSubObjectsWithinASubObjectRaisesWhereItIsRead) {
  const std::size_t part = forgery_.bytes().find("part1", Body()) + 5;
  ASSERT_EQ(forgery_.Get32(part), 2U) << "values of the part";
  for (const std::uint32_t count : {1U, kHuge}) {
    forgery_.Set32(part + 4, count);
    ExpectFirstRecordRefused();
  }
}

// Overlapping records would be checked over and over: reading a file of some megabytes could take
// hours.
TEST_F(ForgedSnapshot, WithRecordsOutOfOrderOrInOnePlaceRefusesThoseRecords) {
  const std::size_t positions = forgery_.page(0);
  const std::uint32_t first = forgery_.Get32(positions);
  const std::uint32_t second = forgery_.Get32(positions + 4);
  for (const auto& [one, other] :
       {std::pair(first, first), std::pair(second, second), std::pair(second, first)}) {
    forgery_.Set32(positions, one);
    forgery_.Set32(positions + 4, other);
    StoreBytes(forgery_.Sealed());
    EXPECT_EQ(CodeOf([] { Describe(OpenStore()->GetObject(IdOf("alpha"))); }), kCorrupt);
    EXPECT_EQ(CodeOf([] { Describe(OpenStore()->GetObjects(All()).at(0)); }), kCorrupt);
    EXPECT_EQ(WriteCode(), kCorrupt);
    forgery_ = Forgery(bytes_);
  }
}

TEST_F(ForgedSnapshot, WithARecordThatReachesIntoTheNextOneRefusesThatRecord) {
  const std::size_t head = forgery_.records()[0].position;
  forgery_.Set32(head + 4, forgery_.Get32(head + 4) + 1);
  ExpectFirstRecordRefused();
}

TEST_F(ForgedSnapshot, WithHostileIndexesRaisesOrAnswersButDoesNotReadOutside) {
  ASSERT_EQ(forgery_.pageCount(), 3U);
  for (const std::size_t page : {forgery_.page(1), forgery_.page(2)}) {
    const std::uint32_t count = forgery_.Get32(page);
    ASSERT_GE(count, 5U);
    for (const std::uint32_t value : {0U, 1U, 340U, 341U, 0x80000000U, kHuge}) {
      forgery_.Set32(page, value);
      forgery_.Set32(page + 4, value);  // goes on behind the last page
      StoreBytes(forgery_.Sealed());
      AskEverything();
      forgery_ = Forgery(bytes_);
      for (std::uint32_t entry = 0; entry < count; ++entry) {
        forgery_.Set32(page + 8 + std::size_t{8} * 340 + std::size_t{4} * entry, value);
        StoreBytes(forgery_.Sealed());
        AskEverything();
      }
      forgery_ = Forgery(bytes_);
    }
  }
}

// As values do whose hashes collide: the first that is found has another value.
TEST_F(ForgedSnapshot, WithTwoValuesOfOneHashIsSearchedByTheValuesThemselves) {
  const std::size_t page = forgery_.page(2);
  const auto find = [](const char* text) {
    const Store store = OpenStore();
    return TextOf(dynamic_cast<ValueSearch&>(*store).FindFirst(IdOf(""), "text", text));
  };
  for (std::uint32_t entry = 0; entry + 1 < forgery_.Get32(page); ++entry) {
    const std::size_t hash = page + 8 + std::size_t{8} * entry;
    forgery_.Set64(hash, forgery_.Get64(hash + 8));
    StoreBytes(forgery_.Sealed());
    for (const char* text : {"text of alpha", "text of beta"}) {
      const auto found = find(text);
      EXPECT_EQ(found.value_or(text), text);
    }
    forgery_ = Forgery(bytes_);
    forgery_.Set64(hash + 8, forgery_.Get64(hash));
    StoreBytes(forgery_.Sealed());
    for (const char* text : {"text of alpha", "text of beta"}) {
      const auto found = find(text);
      EXPECT_EQ(found.value_or(text), text);
    }
    forgery_ = Forgery(bytes_);
  }
}

TEST_F(ForgedSnapshot, WithAPageOfAnotherPlaceOrFileRaises) {
  const std::string page = bytes_.substr(forgery_.page(1), 4096);
  std::string moved = bytes_;
  StoreBytes(moved.replace(forgery_.page(2), 4096, page));
  EXPECT_TRUE(AskEverything().raised);
  StoreBytes(bytes_);
  Put(OpenStore(), "alpha", "text of alpha");  // as it was but for parts, with another key
  const std::string other = ReadFile(SnapshotPath());
  const Forgery otherForgery(other);
  ASSERT_EQ(otherForgery.pageCount(), 3U);
  moved = other;
  StoreBytes(moved.replace(otherForgery.page(1), 4096, page));
  EXPECT_TRUE(AskEverything().raised);
}

// Every four bytes of the file, of rows of zeros some, become a hostile number, with the checksums
// made right again.
TEST_F(ForgedSnapshot, WithAHostileNumberAnywhereNeverCrashes) {
  const auto size = static_cast<std::uint32_t>(bytes_.size());
  int raised = 0;
  const auto inZeros = [this](std::size_t place) {
    return bytes_.compare(place, 64, std::string(64, '\0')) == 0;
  };
  for (std::size_t place = 0; place + 4 <= bytes_.size(); place += inZeros(place) ? 29 : 1) {
    for (const std::uint32_t value : {0U, size - 4, 0x7fffffffU, kHuge}) {
      forgery_.Set32(place, value);
      StoreBytes(forgery_.Sealed());
      if (AskEverything().raised) ++raised;
      forgery_ = Forgery(bytes_);
    }
  }
  EXPECT_GT(raised, 1000);
}

}  // namespace
}  // namespace PlatformTest
