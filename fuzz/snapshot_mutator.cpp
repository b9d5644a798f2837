// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Changes snapshots at random and mostly gives them right checksums again: otherwise every change
// would end at the first of them, and nothing behind would ever be tried.
#include <cstdint>
#include <string_view>

#include "services/bytes.h"
#include "services/checksum.h"
#include "store/index_page.h"
#include "store/snapshot_format.h"
#include "store/snapshot_record.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t room);

namespace {

using HostPlatform::Checksum;
using HostPlatform::LoadInteger;
using HostPlatform::StoreInteger;
using namespace TavConfigStore::SnapshotFormat;  // NOLINT(google-build-using-namespace): constants

class Sealer {
 public:
  Sealer(char* bytes, std::size_t size)
      : bytes_(bytes), size_(size), footer_(bytes + size - kFooterSize) {}

  void Seal() {
    StoreInteger(kMagic, footer_);
    StoreInteger(kVersion, footer_ + 8);
    StoreInteger(std::uint64_t{size_}, footer_ + 32);
    const auto kinds = LoadInteger<std::uint64_t>(footer_ + 24);
    const auto records = LoadInteger<std::uint64_t>(footer_ - kRootSize);
    if (records < kinds && kinds <= size_ - kFooterSize - kRootSize) SealPages(records, kinds);
    if (kinds > size_ - kChecksumSize) return;
    StoreInteger(Checksum({bytes_ + kinds, size_ - kChecksumSize - kinds}), footer_ + 40);
  }

 private:
  // And the records that the pages of positions lead to, as far as they make sense.
  void SealPages(std::uint64_t pages, std::uint64_t end) {
    std::uint32_t left = LoadInteger<std::uint32_t>(footer_ - kRootSize + 8);
    const auto key = LoadInteger<std::uint64_t>(footer_ + 16);
    std::uint32_t number = 0;
    for (; end - pages >= kPageSize; pages += kPageSize, ++number) {
      for (std::uint32_t i = 0; i < kPositionsPerPage && left > 0; ++i, --left)
        SealRecord(LoadInteger<std::uint32_t>(bytes_ + pages + std::size_t{4} * i), key);
      StoreInteger(TavConfigStore::ChecksumOfPage(bytes_ + pages, key, number),
                   bytes_ + pages + kPageContent);
    }
  }

  void SealRecord(std::uint64_t position, std::uint64_t snapshotKey) {
    if (position + kRecordHead > size_ - kFooterSize) return;
    const std::uint64_t keySize = LoadInteger<std::uint32_t>(bytes_ + position);
    const std::uint64_t dataSize = LoadInteger<std::uint32_t>(bytes_ + position + 4);
    const std::uint64_t key = position + kRecordHead;
    if (dataSize < kDataHead + kChecksumSize) return;
    if (key + keySize + dataSize > size_ - kFooterSize) return;
    const std::uint64_t covered = keySize + dataSize - kChecksumSize;
    StoreInteger(TavConfigStore::ChecksumOfRecord({bytes_ + key, covered}, keySize, snapshotKey),
                 bytes_ + key + covered);
  }

  char* bytes_;
  std::size_t size_;
  char* footer_;
};

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t room, unsigned seed) {
  const std::size_t changed = LLVMFuzzerMutate(data, size, room);
  const bool leftAsItIs = seed % 8 == 0;
  if (!leftAsItIs && changed >= kSmallestFile) {
    Sealer(reinterpret_cast<char*>(data), changed).Seal();
  }
  return changed;
}
