// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Bytes of the stored file that changed on the disk: no answer is wrong, none is missing unsaid.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "damage/damage_test.h"
#include "support/random.h"

namespace PlatformTest {
namespace {

class BitRot : public DamageTest {
 protected:
  // Changes every byte of the snapshot in turn, in each of the ways; of the long rows of zeros in
  // the pages of its indexes some.
  void FlipEveryByte(const std::vector<unsigned char>& patterns) {
    std::size_t flips = 0;
    for (std::size_t place = 0; place < bytes_.size(); place += InZeros(place) ? 7 : 1) {
      flips += patterns.size();
      for (const unsigned char pattern : patterns) {
        std::string damaged = bytes_;
        damaged[place] = static_cast<char>(damaged[place] ^ pattern);
        StoreBytes(damaged);
        const Answers answers = AskEverything();
        ASSERT_EQ(answers.wrong, "")
            << "byte " << place << " of " << bytes_.size() << " ^ " << int{pattern};
        ASSERT_TRUE(answers.raised)
            << "unnoticed: byte " << place << " of " << bytes_.size() << " ^ " << int{pattern};
      }
    }
    std::printf("%zu bytes, %zu flips, all raised, no answer wrong\n", bytes_.size(), flips);
    StoreBytes(bytes_);
    EXPECT_FALSE(AskEverything().raised);
  }

  void DamageAtRandom(std::uint64_t seed, int times) {
    Random random(seed);
    for (int i = 0; i < times; ++i) {
      const std::string damaged = Damage(&random);
      StoreBytes(damaged);
      const Answers answers = AskEverything();
      ASSERT_EQ(answers.wrong, "") << "damage " << i;
      ASSERT_EQ(answers.raised, damaged != bytes_) << "damage " << i;
    }
  }

 private:
  bool InZeros(std::size_t place) const {
    return bytes_.compare(place, 64, std::string(64, '\0')) == 0;
  }

  // Overwrites, moves, cuts out or doubles some bytes.
  std::string Damage(Random* random) const {
    std::string damaged = bytes_;
    for (std::size_t times = 1 + random->Below(3); times != 0; --times) {
      const std::size_t from = random->Below(damaged.size());
      const std::size_t length =
          1 + random->Below(std::min<std::size_t>(64, damaged.size() - from));
      const std::size_t to = random->Below(damaged.size() - length + 1);
      switch (random->Below(5)) {
        case 0:
          damaged.replace(from, length, length, static_cast<char>(random->Number()));
          break;
        case 1:
          std::generate_n(damaged.begin() + static_cast<long>(from), length,
                          [random] { return static_cast<char>(random->Number()); });
          break;
        case 2:
          damaged.replace(to, length, damaged.substr(from, length));
          break;
        case 3:
          damaged.erase(from, length);
          break;
        default:
          damaged.insert(to, damaged.substr(from, length));
          break;
      }
    }
    return damaged;
  }
};

using LongBitRot = BitRot;

TEST_F(BitRot, UndamagedSampleIsAnsweredWithoutException) {
  const Answers answers = AskEverything();
  EXPECT_EQ(answers.wrong, "");
  EXPECT_FALSE(answers.raised);
}

TEST_F(BitRot, OfAnyByteIsNoticedWhenTheLowestBitFlips) {
  FlipEveryByte({0x01});
}

TEST_F(BitRot, OfAnyByteIsNoticedWhenTheHighestBitFlips) {
  FlipEveryByte({0x80});
}

TEST_F(BitRot, OfAnyByteIsNoticedWhenAllBitsFlip) {
  FlipEveryByte({0xff});
}

TEST_F(LongBitRot, OfAnyByteIsNoticedWhicheverBitsFlip) {
  std::vector<unsigned char> patterns;
  for (int pattern = 1; pattern < 256; ++pattern)
    patterns.push_back(static_cast<unsigned char>(pattern));
  FlipEveryByte(patterns);
}

TEST_F(BitRot, OfManyBytesIsNoticed) {
  DamageAtRandom(SeedOfThisRun(), 4000);
}

TEST_F(LongBitRot, OfManyBytesIsNoticed) {
  DamageAtRandom(SeedOfThisRun(), 400'000);
}

}  // namespace
}  // namespace PlatformTest
