// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "services/md5_lanes.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__) || defined(__ARM_NEON) || defined(__ALTIVEC__)

namespace HostPlatform {
namespace {

constexpr std::size_t kBlockSize = 64;
constexpr std::size_t kLengthSize = 8;
constexpr std::size_t kWords = 16;

// RFC 1321: 2^32 times the absolute value of the sine of 1, 2, ...
constexpr std::uint32_t kSines[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};
constexpr int kRotations[4][4] = {
    {7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
constexpr std::uint32_t kStart[] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};

std::uint32_t Swapped(std::uint32_t word) {
  return std::endian::native == std::endian::little ? word : __builtin_bswap32(word);
}

// Two of the processor's vectors: while a step of one waits for the step before, the other goes on.
constexpr int kLanes = 8;
using Vector [[gnu::vector_size(4 * kLanes)]] = std::uint32_t;
constexpr int kParts = 4;
using State = Vector[kParts];
using Blocks = const unsigned char* [kLanes];  // where each lane's next block is

void AddBlock(const Blocks& blocks, std::size_t offset, State* state) {
  Vector words[kWords];
  for (std::size_t word = 0; word < kWords; ++word) {
    std::uint32_t values[kLanes];
    for (int lane = 0; lane < kLanes; ++lane) {
      std::memcpy(&values[lane], blocks[lane] + offset + 4 * word, sizeof values[lane]);
      values[lane] = Swapped(values[lane]);
    }
    std::memcpy(&words[word], values, sizeof values);
  }
  Vector a = (*state)[0];
  Vector b = (*state)[1];
  Vector c = (*state)[2];
  Vector d = (*state)[3];
#pragma GCC unroll 64
  for (unsigned step = 0; step < 64; ++step) {
    const unsigned round = step / 16;
    const Vector mixed = round == 0   ? d ^ (b & (c ^ d))
                         : round == 1 ? c ^ (d & (b ^ c))
                         : round == 2 ? b ^ c ^ d
                                      : c ^ (b | ~d);
    constexpr unsigned kStrides[4] = {1, 5, 3, 7};
    constexpr unsigned kOffsets[4] = {0, 1, 5, 0};
    const Vector sum =
        a + mixed + words[(kStrides[round] * step + kOffsets[round]) % 16] + kSines[step];
    const int rotation = kRotations[round][step % 4];
    a = d;
    d = c;
    c = b;
    b += sum << rotation | sum >> (32 - rotation);
  }
  (*state)[0] += a;
  (*state)[1] += b;
  (*state)[2] += c;
  (*state)[3] += d;
}

// One text on its way through a lane: its whole blocks where they are, then a copy of the rest with
// the padding.
class Lane {
 public:
  void Begin(const CryptoHashText& text, unsigned char* digest) {
    digest_ = digest;
    at_ = static_cast<const unsigned char*>(text.data);
    blocks_ = text.length / kBlockSize;
    const std::size_t rest = text.length % kBlockSize;
    std::memset(end_, 0, sizeof end_);
    if (rest != 0) std::memcpy(end_, at_ + blocks_ * kBlockSize, rest);
    end_[rest] = 0x80;
    endBlocks_ = rest + 1 + kLengthSize <= kBlockSize ? 1 : 2;
    const std::uint64_t bits = std::uint64_t{text.length} * 8;
    for (std::size_t i = 0; i < kLengthSize; ++i) {
      end_[endBlocks_ * kBlockSize - kLengthSize + i] = static_cast<unsigned char>(bits >> (8 * i));
    }
    GoOn();
  }

  bool IsBusy() const { return blocks_ != 0; }
  const unsigned char* at() const { return at_; }
  std::size_t blocks() const { return blocks_; }
  unsigned char* digest() const { return digest_; }

  // False if the text has ended.
  bool Advance(std::size_t blocks) {
    at_ += blocks * kBlockSize;
    blocks_ -= blocks;
    GoOn();
    return IsBusy();
  }

 private:
  void GoOn() {
    if (blocks_ != 0) return;
    at_ = end_;
    blocks_ = endBlocks_;
    endBlocks_ = 0;
  }

  const unsigned char* at_ = nullptr;
  std::size_t blocks_ = 0;
  std::size_t endBlocks_ = 0;
  unsigned char* digest_ = nullptr;
  unsigned char end_[2 * kBlockSize];
};

}  // namespace

bool ComputeMd5InLanes(const CryptoHashText* texts, std::size_t count, unsigned char* digests) {
  Lane lanes[kLanes];
  State state;
  std::size_t begun = 0;
  const auto begin = [&](int lane) {
    if (begun == count) return;
    lanes[lane].Begin(texts[begun], digests + begun * kCryptoHashMd5Size);
    ++begun;
    for (int part = 0; part < kParts; ++part)
      state[part][lane] = kStart[part];
  };
  for (int lane = 0; lane < kLanes; ++lane)
    begin(lane);
  for (;;) {
    const Lane* busy = nullptr;
    std::size_t blocks = 0;
    for (const Lane& lane : lanes) {
      if (!lane.IsBusy()) continue;
      blocks = busy == nullptr ? lane.blocks() : std::min(blocks, lane.blocks());
      busy = &lane;
    }
    if (busy == nullptr) return true;
    Blocks at;
    for (int lane = 0; lane < kLanes; ++lane)
      at[lane] = lanes[lane].IsBusy() ? lanes[lane].at() : busy->at();  // any readable bytes
    for (std::size_t i = 0; i < blocks; ++i)
      AddBlock(at, i * kBlockSize, &state);
    for (int lane = 0; lane < kLanes; ++lane) {
      if (!lanes[lane].IsBusy() || lanes[lane].Advance(blocks)) continue;
      for (int part = 0; part < kParts; ++part) {
        const std::uint32_t word = Swapped(state[part][lane]);
        std::memcpy(lanes[lane].digest() + sizeof word * static_cast<unsigned>(part), &word,
                    sizeof word);
      }
      begin(lane);
    }
  }
}

}  // namespace HostPlatform

#else

namespace HostPlatform {

bool ComputeMd5InLanes(const CryptoHashText*, std::size_t, unsigned char*) {
  return false;
}

}  // namespace HostPlatform

#endif
