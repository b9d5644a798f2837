// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The generation number in the configuration file: written as an unsigned long, read as an int.
#include <limits>

#include "support/file_fixture.h"
#include "support/reference_digest.h"

namespace QuorTest {
namespace {

using TavQuor::QuorLib;
using Limits = std::numeric_limits<std::int64_t>;

class FileGenerationNumber : public FileTest {
 protected:
  static void Write(std::int64_t number) {
    ThePlatform().log.clear();
    QuorLib::AddPolicyInfo({Policy("n", "i", "d", number, {})});
  }

  // The text in the file, once `number` was written.
  static std::string Written(std::int64_t number) {
    Write(number);
    const std::string text = PolicyAt(ThePlatform().file, 0).values.at("generation-number");
    EXPECT_EQ(CallsOf("SetValue policy[0] generation-number:"),
              Lines{"SetValue policy[0] generation-number: unsigned long " + text});
    return text;
  }

  // The number that is listed once the file holds `text`.
  static std::int64_t Listed(const std::string& text) {
    Write(12345);
    PolicyAt(ThePlatform().file, 0).values["generation-number"] = text;
    ThePlatform().log.clear();
    const Policies listed = QuorLib::ListPolicyInfo();
    EXPECT_EQ(CallsOf("GetValue policy[0] generation-number:"),
              Lines{"GetValue policy[0] generation-number: int"});
    EXPECT_EQ(listed.size(), 1U);
    return listed.empty() ? 0 : listed[0].generationNumber;
  }

  static std::int64_t WrittenAndListed(std::int64_t number) { return Listed(Written(number)); }
};

TEST_F(FileGenerationNumber, NumbersBelowTwoToTheThirtyFirstComeBackAsTheyWere) {
  EXPECT_EQ(Written(7), "7");
  for (const std::int64_t number : {0, 1, 7, 2147483646, 2147483647}) {
    EXPECT_EQ(Written(number), std::to_string(number));
    EXPECT_EQ(WrittenAndListed(number), number);
  }
}

TEST_F(FileGenerationNumber, NegativeNumberIsWrittenAsUnsignedAndWidenedWithItsSign) {
  EXPECT_EQ(Written(-1), "18446744073709551615");
  EXPECT_EQ(Written(-2147483648LL), "18446744071562067968");
  EXPECT_EQ(Written(Limits::min()), "9223372036854775808");
  for (const std::int64_t number : {-1LL, -7LL, -2147483647LL, -2147483648LL}) {
    EXPECT_EQ(WrittenAndListed(number), number);
  }
}

TEST_F(FileGenerationNumber, NumberAboveTheRangeIsWrittenWholeAndNotListedAsItWas) {
  EXPECT_EQ(Written(2147483648LL), "2147483648");
  EXPECT_EQ(Written(Limits::max()), "9223372036854775807");
  EXPECT_EQ(WrittenAndListed(2147483648LL), -2147483648LL);
  EXPECT_EQ(WrittenAndListed(4294967303LL), 7);
  EXPECT_EQ(WrittenAndListed(Limits::max()), -1);
}

TEST_F(FileGenerationNumber, NumberBelowTheRangeIsNotListedAsItWas) {
  EXPECT_EQ(WrittenAndListed(-2147483649LL), 2147483647);
  EXPECT_EQ(WrittenAndListed(Limits::min()), 0);
}

TEST_F(FileGenerationNumber, WhateverTheIntGetterAnswersIsWidenedWithItsSign) {
  EXPECT_EQ(Listed("-1"), -1);
  EXPECT_EQ(Listed("-2147483648"), std::numeric_limits<int>::min());
  EXPECT_EQ(Listed("2147483647"), std::numeric_limits<int>::max());
}

TEST_F(FileGenerationNumber, PolicyWithoutANumberOrWithOtherTextIsNotListed) {
  for (const char* text : {"", "seven", "7 ", "1.5", "0x7", "18446744073709551616"}) {
    Write(5);
    PolicyAt(ThePlatform().file, 0).values["generation-number"] = text;
    EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies()) << text;
  }
  PolicyAt(ThePlatform().file, 0).values.erase("generation-number");
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies());
}

// Unlike the configuration store's listing, which carries a number on.
TEST_F(FileGenerationNumber, NothingIsCarriedFromOnePolicyToTheNext) {
  QuorLib::AddPolicyInfo(
      {Policy("a", "1", "", 5, {}), Policy("b", "2", "", 6, {}), Policy("c", "3", "", 7, {})});
  PolicyAt(ThePlatform().file, 1).values.erase("generation-number");
  EXPECT_EQ(QuorLib::ListPolicyInfo(),
            (Policies{Policy("a", "1", "", 5, {}), Policy("c", "3", "", 7, {})}));
}

TEST_F(FileGenerationNumber, DigestIsOfTheNumberThatIsListed) {
  Write(4294967303LL);
  EXPECT_EQ(QuorLib::GetDbHash().first, ReferencePolicyDigest({Policy("n", "i", "d", 7, {})}));
}

}  // namespace
}  // namespace QuorTest
