// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Formatting, and the exception classes.
#include <gtest/gtest.h>

#include <cinttypes>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "brisk/exception.h"
#include "brisk/format.h"
#include "platform/str.h"
#include "tavconfigstore/exception.h"

namespace PlatformTest {
namespace {

using Brisk::Lib::BriskException;
using Brisk::Misc::StrCat;
using Brisk::Misc::StrPrintf;
using TavConfigStore::ConfigStoreException;
using namespace std::string_literals;  // NOLINT(google-build-using-namespace): embedded NULs

TEST(StrSprintf, WritesTheTextAndReturnsItsLength) {
  char buffer[16];
  EXPECT_EQ(Str_Sprintf(buffer, sizeof buffer, "%s-%d", "abc", 42), 6);
  EXPECT_STREQ(buffer, "abc-42");
}

TEST(StrSprintf, CutsTheTextToTheBufferAndReturnsItsWholeLength) {
  for (std::size_t size = 1; size <= 8; ++size) {
    char buffer[16];
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(Str_Sprintf(buffer, size, "%s", "abcdef"), 6);
    EXPECT_EQ(std::string(buffer), "abcdef"s.substr(0, size - 1));
    EXPECT_EQ(buffer[size], '#') << "nothing is written behind the buffer";
  }
}

TEST(StrSprintf, WritesNothingToABufferWithoutRoom) {
  char byte = '#';
  EXPECT_EQ(Str_Sprintf(&byte, 0, "%s", "abcdef"), 6);
  EXPECT_EQ(byte, '#');
  EXPECT_EQ(Str_Sprintf(nullptr, 0, "%d", 12345), 5);
}

TEST(StrSprintf, MakesTwoHexadecimalDigitsOfAByte) {
  char buffer[3];
  for (const int value : {0, 9, 10, 171, 255}) {
    EXPECT_EQ(Str_Sprintf(buffer, sizeof buffer, "%02x", static_cast<unsigned>(value)), 2);
    EXPECT_EQ(std::stoi(buffer, nullptr, 16), value);
  }
}

TEST(StrPrintf, FormatsLikePrintf) {
  EXPECT_EQ(StrPrintf("plain"), "plain");
  EXPECT_EQ(StrPrintf("%d %s %05.2f %%", -1, "two", 3.14159), "-1 two 03.14 %");
  EXPECT_EQ(StrPrintf("%s", ""), "");
  EXPECT_EQ(StrPrintf("%lld", 9'223'372'036'854'775'807LL), "9223372036854775807");
}

// Texts and numbers of 64 bits are formatted without the C library.
TEST(StrPrintf, FormatsTextsAndLongNumbersLikePrintf) {
  using Limits = std::numeric_limits<std::int64_t>;
  EXPECT_EQ(StrPrintf("%s%" PRId64 "%s", "a", Limits::min(), "b"), "a-9223372036854775808b");
  EXPECT_EQ(StrPrintf("%" PRId64 "|%s", Limits::max(), "c"), "9223372036854775807|c");
  EXPECT_EQ(StrPrintf("%s%s%s%ld", "a", "", "c", -5L), "ac-5");
  EXPECT_EQ(StrPrintf("<%ld>", 0L), "<0>");
  for (const long number : {std::numeric_limits<long>::min(), std::numeric_limits<long>::max()})
    EXPECT_EQ(StrPrintf("%ld", number), std::to_string(number));
  EXPECT_EQ(StrPrintf("%s %d%% %ld", "half", 50, 7L), "half 50% 7");
  EXPECT_EQ(StrPrintf("%ld %5s|%-5s|", 1L, "r", "l"), "1     r|l    |");
}

TEST(StrPrintf, KeepsNulsThatAreFormattedIn) {
  EXPECT_EQ(StrPrintf("a%cb", '\0'), "a\0b"s);
}

TEST(StrPrintf, HasNoLimitOnTheLength) {
  for (const std::size_t length : {1, 127, 128, 255, 256, 1023, 1024, 4096, 1'000'000}) {
    const std::string text(length, 'x');
    EXPECT_TRUE(StrPrintf("<%s>", text.c_str()) == '<' + text + '>') << length;
  }
}

TEST(StrPrintf, FormatInErrorIsRaised) {
  ASSERT_NE(std::setlocale(LC_ALL, "C"), nullptr);
  const wchar_t unprintable[] = {0x20ac, 0};  // no character of the C locale
  EXPECT_THROW(StrPrintf("%ls", unprintable), std::invalid_argument);
}

TEST(StrCat, PutsThreePiecesTogetherWithTheirNuls) {
  EXPECT_EQ(StrCat("a"s, "b"s, "c"s), "abc");
  EXPECT_EQ(StrCat(""s, ""s, ""s), "");
  EXPECT_EQ(StrCat("a\0"s, "\0"s, "\0b"s), "a\0\0\0b"s);
  EXPECT_EQ(StrCat("\xff"s, ""s, "x"s), "\xffx");
}

TEST(StrCat, MayTakeOnePieceThreeTimes) {
  const std::string piece(100'000, 'x');
  EXPECT_TRUE(StrCat(piece, piece, piece) == std::string(300'000, 'x'));
}

TEST(Exceptions, TellTheirMessage) {
  const BriskException exception("a message");
  EXPECT_STREQ(exception.what(), "a message");
  EXPECT_EQ(exception.attachment(), nullptr);
  EXPECT_STREQ(BriskException("").what(), "");
}

TEST(Exceptions, CopiesShareTheAttachmentAndOwnTheMessage) {
  const auto attachment = std::make_shared<const int>(42);
  auto original = std::make_unique<BriskException>("a message");
  original->set_attachment(attachment);
  const BriskException copy(*original);
  BriskException assigned("another");
  assigned = *original;
  EXPECT_EQ(attachment.use_count(), 4);
  original.reset();
  EXPECT_STREQ(copy.what(), "a message");
  EXPECT_STREQ(assigned.what(), "a message");
  EXPECT_EQ(copy.attachment(), attachment);
  EXPECT_EQ(assigned.attachment(), attachment);
}

TEST(Exceptions, AttachmentIsReleasedWithTheLastCopy) {
  auto attachment = std::make_shared<const int>(42);
  const std::weak_ptr<const int> watched = attachment;
  {
    BriskException original("a message");
    original.set_attachment(std::move(attachment));
    const BriskException copy(original);
    original.set_attachment(nullptr);
    EXPECT_FALSE(watched.expired());
  }
  EXPECT_TRUE(watched.expired());
}

TEST(Exceptions, OfTheStoreKeepTheirCodeWhenTheyAreCopied) {
  ConfigStoreException original("a message", TavConfigStore::kBusy);
  original.set_attachment(std::make_shared<const int>(42));
  const ConfigStoreException copy(original);
  EXPECT_EQ(copy.code(), TavConfigStore::kBusy);
  EXPECT_STREQ(copy.what(), "a message");
  EXPECT_EQ(copy.attachment(), original.attachment());
}

TEST(Exceptions, OfTheStoreAreCaughtAsEachOfTheirBases) {
  const auto raise = [] { throw ConfigStoreException("a message", TavConfigStore::kUsage); };
  EXPECT_THROW(raise(), ConfigStoreException);
  EXPECT_THROW(raise(), BriskException);
  EXPECT_THROW(raise(), std::exception);
}

TEST(Exceptions, NumbersOfTheCodesAreStable) {
  using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes
  const CSErrorCodes codes[] = {kBusy,      kCorrupt, kNoSpace,     kPermissionDenied, kIoError,
                                kWrongType, kUsage,   kUnsupported, kInsecure};
  int number = 1;
  for (const CSErrorCodes code : codes)
    EXPECT_EQ(code, number++);
}

}  // namespace
}  // namespace PlatformTest
