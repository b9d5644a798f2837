// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// MD5 against the RFC's vectors, and of many texts at once against each by itself.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "platform/crypto_hash.h"
#include "support/random.h"

namespace PlatformTest {
namespace {

std::string Md5(const void* data, std::size_t length) {
  unsigned char digest[kCryptoHashMd5Size + 1] = {};
  digest[kCryptoHashMd5Size] = 0xaa;
  EXPECT_EQ(CryptoHash_ComputeMD5(data, length, digest), 0);
  EXPECT_EQ(digest[kCryptoHashMd5Size], 0xaa) << "only 16 bytes are written";
  std::string text;
  for (int i = 0; i < kCryptoHashMd5Size; ++i) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", digest[i]);
    text += digits;
  }
  return text;
}

std::string Md5(const std::string& text) {
  return Md5(text.data(), text.size());
}

TEST(Md5, GivesTheVectorsOfTheRfc) {
  EXPECT_EQ(kCryptoHashMd5Size, 16);
  EXPECT_EQ(Md5(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(Md5("a"), "0cc175b9c0f1b6a831c399e269772661");
  EXPECT_EQ(Md5("abc"), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(Md5("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(Md5("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
  EXPECT_EQ(Md5("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
            "d174ab98d277d9f5a5611c2c9f419d9f");
  EXPECT_EQ(Md5("1234567890123456789012345678901234567890"
                "1234567890123456789012345678901234567890"),
            "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(Md5, NullDataOfLengthZeroIsTheEmptyText) {
  EXPECT_EQ(Md5(nullptr, 0), Md5(""));
}

TEST(Md5, CoversEmbeddedNulsAndLengthsAroundItsBlocks) {
  EXPECT_EQ(Md5(std::string(1, '\0')), "93b885adfe0da089cdf634904fd59f71");
  EXPECT_EQ(Md5(std::string(55, 'a')), "ef1772b6dff9a122358552954ad0df65");
  EXPECT_EQ(Md5(std::string(56, 'a')), "3b0c8ac703f828b04c6c197006d17218");
  EXPECT_EQ(Md5(std::string(64, 'a')), "014842d480b571495a4a0363793f7367");
  EXPECT_EQ(Md5(std::string(1'000'000, 'a')), "7707d6ae4e027c70eea2a935c2296f21");
}

using Digests = std::vector<unsigned char>;

Digests OfEachByItself(const std::vector<CryptoHashText>& texts) {
  Digests digests(texts.size() * kCryptoHashMd5Size);
  for (std::size_t i = 0; i < texts.size(); ++i)
    CryptoHash_ComputeMD5(texts[i].data, texts[i].length, &digests[i * kCryptoHashMd5Size]);
  return digests;
}

Digests OfEach(const std::vector<CryptoHashText>& texts) {
  constexpr unsigned char kUntouched = 0xaa;
  Digests digests(texts.size() * kCryptoHashMd5Size + 1, kUntouched);
  EXPECT_EQ(CryptoHash_ComputeMD5OfEach(texts.data(), texts.size(), digests.data()), 0);
  EXPECT_EQ(digests.back(), kUntouched);
  digests.pop_back();
  return digests;
}

class Md5OfEach : public testing::Test {
 protected:
  // Lists of up to 40 texts, most of them of a few blocks, whose bytes are a part of one text.
  static void Run(std::uint64_t seed, int lists) {
    Random random(seed);
    std::string bytes(20'000, '\0');
    for (char& byte : bytes)
      byte = static_cast<char>(random.Below(256));
    for (int list = 0; list < lists && !HasFailure(); ++list) {
      std::vector<CryptoHashText> texts(random.Below(41));
      for (CryptoHashText& text : texts) {
        text.length = random.Below(random.Below(20) == 0 ? 10'000 : 260);
        text.data = &bytes[random.Below(10'000)];
      }
      EXPECT_EQ(OfEach(texts), OfEachByItself(texts)) << "list " << list << " of seed " << seed;
    }
  }
};

TEST_F(Md5OfEach, IsThatOfEachByItself) {
  Run(SeedOfThisRun(), 20'000);
}

using LongMd5OfEach = Md5OfEach;

TEST_F(LongMd5OfEach, IsThatOfEachByItself) {
  Run(SeedOfThisRun(), 1'000'000);
}

// Each length that ends in one block or in two, beside texts of all the others.
TEST_F(Md5OfEach, CoversLengthsAroundItsBlocks) {
  const std::string bytes(300, 'a');
  std::vector<CryptoHashText> texts;
  for (std::size_t length = 0; length <= bytes.size(); ++length)
    texts.push_back({length == 0 ? nullptr : bytes.data(), length});
  EXPECT_EQ(OfEach(texts), OfEachByItself(texts));
}

}  // namespace
}  // namespace PlatformTest
