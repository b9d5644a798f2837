// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Base64, both ways, against the RFC's vectors and a plain reference.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "platform/base64.h"
#include "support/random.h"

namespace PlatformTest {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string Encode(const std::string& bytes) {
  char* text = nullptr;
  EXPECT_TRUE(
      Base64_EasyEncode(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), &text));
  const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
  return text;
}

// The bytes; nothing when the text is refused, and then the results must be untouched.
std::optional<std::string> Decode(const std::string& text) {
  uint8_t untouched = 0;
  uint8_t* bytes = &untouched;
  size_t length = 4711;
  if (!Base64_EasyDecode(text.c_str(), &bytes, &length)) {
    EXPECT_EQ(bytes, &untouched);
    EXPECT_EQ(length, 4711U);
    return std::nullopt;
  }
  EXPECT_NE(bytes, nullptr);
  const std::unique_ptr<uint8_t, decltype(&std::free)> owner(bytes, &std::free);
  return std::string(reinterpret_cast<const char*>(bytes), length);
}

// Bit by bit, as slowly as can be.
std::string ReferenceEncode(const std::string& bytes) {
  std::string bits;
  for (const char byte : bytes) {
    for (int bit = 7; bit >= 0; --bit)
      bits += (byte >> bit & 1) != 0 ? '1' : '0';
  }
  while (bits.size() % 6 != 0)
    bits += '0';
  std::string text;
  for (std::size_t at = 0; at < bits.size(); at += 6)
    text += kAlphabet[std::stoul(bits.substr(at, 6), nullptr, 2)];
  while (text.size() % 4 != 0)
    text += '=';
  return text;
}

TEST(Base64, GivesTheVectorsOfTheRfcBothWays) {
  const std::pair<const char*, const char*> vectors[] = {{"", ""},
                                                         {"f", "Zg=="},
                                                         {"fo", "Zm8="},
                                                         {"foo", "Zm9v"},
                                                         {"foob", "Zm9vYg=="},
                                                         {"fooba", "Zm9vYmE="},
                                                         {"foobar", "Zm9vYmFy"}};
  for (const auto& [bytes, text] : vectors) {
    EXPECT_EQ(Encode(bytes), text);
    EXPECT_EQ(Decode(text), bytes);
  }
}

TEST(Base64, UsesThePlainAlphabet) {
  EXPECT_EQ(Encode("\xfb\xff\xbf"), "+/+/");
  EXPECT_EQ(Decode("+/+/"), "\xfb\xff\xbf");
  EXPECT_EQ(Decode("-_-_"), std::nullopt) << "the alphabet for file names";
}

TEST(Base64, AgreesWithTheReferenceForAllLengthsUpTo300) {
  Random random(SeedOfThisRun());
  for (std::size_t length = 0; length <= 300; ++length) {
    for (int times = 0; times < 5; ++times) {
      std::string bytes(length, '\0');
      for (char& byte : bytes)
        byte = static_cast<char>(random.Number());
      const std::string text = Encode(bytes);
      ASSERT_EQ(text, ReferenceEncode(bytes));
      ASSERT_EQ(Decode(text), bytes);
    }
  }
}

TEST(Base64, EncodesEveryByteValueAtEveryPlace) {
  for (std::size_t place = 0; place < 3; ++place) {
    for (int value = 0; value < 256; ++value) {
      std::string bytes(3, '\0');
      bytes[place] = static_cast<char>(value);
      EXPECT_EQ(Encode(bytes), ReferenceEncode(bytes));
      EXPECT_EQ(Decode(Encode(bytes)), bytes);
    }
  }
}

TEST(Base64, NullBytesOfLengthZeroAreTheEmptyText) {
  char* text = nullptr;
  ASSERT_TRUE(Base64_EasyEncode(nullptr, 0, &text));
  EXPECT_STREQ(text, "");
  std::free(text);
}

TEST(Base64, LengthsThatCannotBeAllocatedAreRefusedWithTheResultUntouched) {
  const uint8_t byte = 0;
  char untouched = 'x';
  for (const size_t length : {SIZE_MAX, SIZE_MAX - 2, SIZE_MAX / 4 * 3 + 1, SIZE_MAX / 4 * 3}) {
    char* text = &untouched;
    EXPECT_FALSE(Base64_EasyEncode(&byte, length, &text)) << length;
    EXPECT_EQ(text, &untouched);
  }
}

TEST(Base64, EveryOtherCharacterIsRefusedAtEveryPosition) {
  for (const char* good :
       {"Zm9v", "Zm9vYmFy", "Zm9vYmE=", "Zm9vYg==", "Zm9vYmFyZm9vYmFyZm9vYmFy"}) {
    ASSERT_NE(Decode(good), std::nullopt);
    for (std::size_t place = 0; good[place] != '\0'; ++place) {
      for (int value = 1; value < 256; ++value) {
        if (std::strchr(kAlphabet, value) != nullptr) continue;
        if (value == '=') continue;  // padding has tests of its own
        std::string bad = good;
        bad[place] = static_cast<char>(value);
        ASSERT_EQ(Decode(bad), std::nullopt) << good << " with " << value << " at " << place;
      }
    }
  }
}

TEST(Base64, LengthsThatAreNoMultipleOfFourAreRefused) {
  const std::string text = "Zm9vYmFyZm9vYmFy";
  for (std::size_t length = 0; length <= text.size(); ++length) {
    EXPECT_EQ(Decode(text.substr(0, length)).has_value(), length % 4 == 0) << length;
  }
}

TEST(Base64, WrongPaddingIsRefused) {
  for (const char* text : {"=",        "==",       "===",      "====",     "Z===",     "=Zm9",
                           "Z=m9",     "Zm=v",     "Zg=",      "Zg",       "Zm8",      "Zm9v=",
                           "Zm9v==",   "Zm9v====", "Zg==Zg==", "Zm8=Zm9v", "Zg==Zm9v", "Zm9v=m9v",
                           "Zm9v===v", "Zm9vZ===", "Zm9v=g==", "Zm9vZ=8=", "Zg==\n",   "Zg== "}) {
    EXPECT_EQ(Decode(text), std::nullopt) << text;
  }
}

TEST(Base64, UnusedBitsMustBeZeroSoThatTextHasOneFormOnly) {
  int accepted = 0;
  for (const char* digit = kAlphabet; *digit != '\0'; ++digit) {
    const auto two = Decode(std::string("Z") + *digit + "==");
    const auto three = Decode(std::string("Zm") + *digit + "=");
    const auto bits = static_cast<std::size_t>(digit - kAlphabet);
    EXPECT_EQ(two.has_value(), bits % 16 == 0) << *digit;
    EXPECT_EQ(three.has_value(), bits % 4 == 0) << *digit;
    accepted += two.has_value() + three.has_value();
  }
  EXPECT_EQ(accepted, 4 + 16);
}

TEST(Base64, LineBreaksAndSpacesWithinAreRefused) {
  for (const char* text : {"Zm9v\nYmFy", "Zm9v\r\nYmF", "Zm9v YmFy", "Zm9vYmFy\n", "\nZm9vYmFy",
                           "Zm9v\nYm", "Zm9\tYmFy", "Zm9vYm\r\n", "\n\n\n\n"}) {
    EXPECT_EQ(Decode(text), std::nullopt);
  }
}

TEST(Base64, RandomTextIsDecodedOnlyIfItEncodesBackToItself) {
  Random random(SeedOfThisRun());
  const std::string digits = std::string(kAlphabet) + "=\n-";
  int decoded = 0;
  for (int i = 0; i < 200'000; ++i) {
    std::string text(random.Below(12), '\0');
    for (char& digit : text)
      digit = digits[random.Below(digits.size())];
    const auto bytes = Decode(text);
    if (!bytes) continue;
    ++decoded;
    ASSERT_EQ(ReferenceEncode(*bytes), text);
  }
  EXPECT_GT(decoded, 1000);
}

TEST(Base64, MegabytesComeBackAsTheyWere) {
  Random random(4711);
  std::string bytes((1 << 20) + 1, '\0');
  for (char& byte : bytes)
    byte = static_cast<char>(random.Number());
  EXPECT_TRUE(Decode(Encode(bytes)) == bytes);
}

}  // namespace
}  // namespace PlatformTest
