// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "fleet/compression.h"

#include <gtest/gtest.h>

#include "fleet/sha256.h"

namespace QuorFleet {
namespace {

std::string Sample() {
  std::string text;
  for (int i = 0; i < 50000; ++i)
    text += std::to_string(i * 7919);
  return text;
}

TEST(Compression, TextComesBack) {
  for (const std::string& text : {std::string(), std::string("x"), Sample()})
    EXPECT_EQ(Uncompressed(Compressed(text)), text);
}

TEST(Compression, HalfATextIsNone) {
  const std::string whole = Compressed(Sample());
  EXPECT_EQ(Uncompressed(whole.substr(0, whole.size() / 2)), std::nullopt);
  EXPECT_EQ(Uncompressed(whole.substr(0, whole.size() - 1)), std::nullopt);
  EXPECT_EQ(Uncompressed(""), std::nullopt);
}

TEST(Compression, BytesBehindTheEndAreRefused) {
  EXPECT_EQ(Uncompressed(Compressed("x") + "y"), std::nullopt);
}

TEST(Compression, EveryFlippedByteIsNoticed) {
  const std::string whole = Compressed("some text of a document");
  for (std::size_t i = 0; i < whole.size(); ++i) {
    std::string damaged = whole;
    damaged[i] = static_cast<char>(damaged[i] ^ 1);
    EXPECT_NE(Uncompressed(damaged), "some text of a document") << "byte " << i;
  }
}

TEST(Compression, TextBeyondTheLimitIsRefused) {
  const std::string bomb = Compressed(std::string(1 << 20, 'x'));
  EXPECT_EQ(Uncompressed(bomb, (1 << 20) - 1), std::nullopt);
  EXPECT_NE(Uncompressed(bomb, 1 << 20), std::nullopt);
}

TEST(Sha256, KnownAnswers) {
  EXPECT_EQ(Sha256Hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(Sha256Hex(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

}  // namespace
}  // namespace QuorFleet
