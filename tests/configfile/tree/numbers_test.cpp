// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Numbers that were written, and values that a person wrote as something else than text.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "support.h"

namespace ConfigFileTest {
namespace {

constexpr int kLeast = std::numeric_limits<int>::min();
constexpr int kMost = std::numeric_limits<int>::max();

std::optional<int> GetInt(const std::string& key) {
  const SynchronizedConfigFile locked;
  int value = 0;
  if (!BranchOf(locked)->GetValue(key, &value)) return std::nullopt;
  return value;
}

class Numbers : public HostTest {
 protected:
  // What is read back of a number that was given to the setter as unsigned.
  static std::optional<int> Returned(std::int64_t number) {
    {
      const SynchronizedConfigFile locked;
      BranchOf(locked)->SetValue("n", static_cast<std::uint64_t>(number));
      locked.file->Write();
    }
    return GetInt("n");
  }
  static std::optional<int> ReadFrom(const std::string& text) {
    Put("n", text);
    return GetInt("n");
  }
};

TEST_F(Numbers, OfTheSigned32BitRangeComeBackAsTheyWere) {
  for (const int number : {0, 1, 7, -1, -7, kLeast, kLeast + 1, kMost, kMost - 1})
    EXPECT_EQ(Returned(number), number);
}

TEST_F(Numbers, AreStoredAsDecimalTextOfTheUnsignedValue) {
  Returned(-1);
  EXPECT_EQ(Get("n"), "18446744073709551615");
  Returned(7);
  EXPECT_EQ(Get("n"), "7");
}

TEST_F(Numbers, BeyondThe32BitRangeAreReducedModulo2To32) {
  EXPECT_EQ(Returned((std::int64_t{1} << 32) + 5), 5);
  EXPECT_EQ(Returned(std::int64_t{1} << 31), kLeast);
  EXPECT_EQ(Returned(std::int64_t{kLeast} - 1), kMost);
  EXPECT_EQ(Returned(std::numeric_limits<std::int64_t>::max()), -1);
  EXPECT_EQ(Returned(std::numeric_limits<std::int64_t>::min()), 0);
}

TEST_F(Numbers, SignedTextIsReadToo) {
  EXPECT_EQ(ReadFrom("-1"), -1);
  EXPECT_EQ(ReadFrom("-2147483648"), kLeast);
  EXPECT_EQ(ReadFrom("-4294967291"), 5);
  EXPECT_EQ(ReadFrom("-9223372036854775808"), 0);
  EXPECT_EQ(ReadFrom("9223372036854775807"), -1);
  EXPECT_EQ(ReadFrom("18446744073709551615"), -1);
}

TEST_F(Numbers, TextThatIsNoWholeNumberOf64BitsReadsAsAbsent) {
  for (const char* const text :
       {"+5", " 5", "5 ", "5x", "", "1e3", "0x1", "5.0", "-", "--5", "- 5", "five", "5\n", "\t5",
        "18446744073709551616", "-9223372036854775809", "99999999999999999999999", "\xd9\xa5"}) {
    EXPECT_EQ(ReadFrom(text), std::nullopt) << '"' << text << '"';
    EXPECT_EQ(Get("n"), text) << "it is there as text";
  }
  EXPECT_EQ(ReadFrom(std::string("5\0", 2)), std::nullopt);
  EXPECT_EQ(ReadFrom("\xff"), std::nullopt);
}

TEST_F(Numbers, AbsentNumberLeavesTheResultAsItWas) {
  Put("n", "no number");
  const SynchronizedConfigFile locked;
  int value = 42;
  EXPECT_FALSE(BranchOf(locked)->GetValue("n", &value));
  EXPECT_FALSE(BranchOf(locked)->GetValue("absent", &value));
  EXPECT_EQ(value, 42);
}

class LiteralsByHand : public HostTest {
 protected:
  LiteralsByHand() {
    EditByHand(R"({"Host": {"Test": {"whole": 7, "negative": -1, "great": 4294967301,
      "fraction": 1.10, "power": 1e3, "yes": true, "no": false, "nothing": null,
      "vast": 12345678901234567890123}}})");
  }
};

TEST_F(LiteralsByHand, ReadAsTheirText) {
  EXPECT_EQ(Get("whole"), "7");
  EXPECT_EQ(Get("negative"), "-1");
  EXPECT_EQ(Get("fraction"), "1.10");
  EXPECT_EQ(Get("power"), "1e3");
  EXPECT_EQ(Get("yes"), "true");
  EXPECT_EQ(Get("no"), "false");
  EXPECT_EQ(Get("vast"), "12345678901234567890123");
}

TEST_F(LiteralsByHand, ReadAsNumbersWhenTheyAreWhole) {
  EXPECT_EQ(GetInt("whole"), 7);
  EXPECT_EQ(GetInt("negative"), -1);
  EXPECT_EQ(GetInt("great"), 5);
  for (const char* const key : {"fraction", "power", "yes", "no", "vast"})
    EXPECT_EQ(GetInt(key), std::nullopt) << key;
}

TEST_F(LiteralsByHand, NullReadsAsAbsent) {
  EXPECT_EQ(Get("nothing"), std::nullopt);
  EXPECT_EQ(GetInt("nothing"), std::nullopt);
}

TEST_F(LiteralsByHand, NullIsAnEmptyBranchOrArrayToo) {
  {
    const SynchronizedConfigFile locked;
    std::string value;
    EXPECT_FALSE(BranchOf(locked, "/Host/Test/nothing")->GetValue("key", &value));
    EXPECT_TRUE(BranchOf(locked)->GetArray("nothing")->GetInstances().empty());
    BranchOf(locked)->GetArray("nothing")->NewInstance()->SetValue("key", "value");
    locked.file->Write();
  }
  const SynchronizedConfigFile locked;
  EXPECT_EQ(BranchOf(locked)->GetArray("nothing")->GetInstances().size(), 1U);
}

TEST_F(LiteralsByHand, GiveWayToTextInTheirPlace) {
  Put("whole", "text");
  Put("yes", "text");
  Put("nothing", "text");
  for (const char* const key : {"whole", "yes", "nothing"})
    EXPECT_EQ(Get(key), "text");
  EXPECT_LT(Document().find("whole"), Document().find("negative"));
  EXPECT_EQ(Get("fraction"), "1.10");
}

}  // namespace
}  // namespace ConfigFileTest
