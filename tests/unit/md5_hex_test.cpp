// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// MD5 as text. The expected digests of the known texts are those of RFC 1321.
#include "digest/md5_hex.h"

#include "support/fixture.h"
#include "support/reference_digest.h"

namespace QuorTest {
namespace {

using TavQuor::Digest::Md5Hex;

class Md5HexTest : public RecordingTest {};

TEST_F(Md5HexTest, KnownTextsHaveTheirPublishedDigests) {
  EXPECT_EQ(Md5Hex("a"), "0cc175b9c0f1b6a831c399e269772661");
  EXPECT_EQ(Md5Hex("abc"), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(Md5Hex("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(Md5Hex("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
  EXPECT_EQ(Md5Hex("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
            "d174ab98d277d9f5a5611c2c9f419d9f");
  EXPECT_EQ(Md5Hex("1234567890123456789012345678901234567890"
                   "1234567890123456789012345678901234567890"),
            "57edf4a22be3c955ac49da2e2107b67a");
}

TEST_F(Md5HexTest, EmptyTextGivesTheEmptyStringAndNoMd5IsComputed) {
  EXPECT_EQ(Md5Hex(""), "");
  EXPECT_EQ(ThePlatform().log, Lines());
}

TEST_F(Md5HexTest, WholeTextIsHashedWithItsZeroBytes) {
  const std::string text("ab\0cd\0", 6);
  EXPECT_EQ(Md5Hex(text), ReferenceMd5Hex(text));
  EXPECT_NE(Md5Hex(text), Md5Hex("ab"));
  EXPECT_EQ(FirstOf(ThePlatform().log), R"(CryptoHash_ComputeMD5 "ab\x00cd\x00")");
  EXPECT_NE(Md5Hex(std::string(1, '\0')), "");
}

TEST_F(Md5HexTest, EachByteOfTheDigestIsFormattedAsTwoDigitsIntoABufferOfThree) {
  Md5Hex("a");
  EXPECT_EQ(CallsOf("CryptoHash_ComputeMD5").size(), 1U);
  EXPECT_EQ(CallsOf("Str_Sprintf"), Lines(16, R"(Str_Sprintf size 3 "%02x")"));
}

TEST_F(Md5HexTest, ResultIsAlwaysThirtyTwoLowerCaseHexadecimalDigits) {
  for (int i = 0; i < 1000; ++i) {
    const std::string text = "text " + std::to_string(i);
    const std::string hex = Md5Hex(text);
    EXPECT_EQ(hex.size(), 32U);
    EXPECT_EQ(hex.find_first_not_of("0123456789abcdef"), std::string::npos) << hex;
    EXPECT_EQ(hex, ReferenceMd5Hex(text));
  }
}

TEST_F(Md5HexTest, ResultCodesOfThePlatformAreIgnored) {
  ThePlatform().utilityResult = -100;
  EXPECT_EQ(Md5Hex("abc"), "900150983cd24fb0d6963f7d28e17f72");
}

}  // namespace
}  // namespace QuorTest
