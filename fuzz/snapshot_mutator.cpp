// Changes snapshots at random and mostly gives them right checksums again: otherwise every change
// would end at the first of them, and nothing behind would ever be tried.
#include <cstdint>
#include <string_view>

#include "configstore/snapshot_format.h"
#include "util/bytes.h"
#include "util/checksum.h"

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
    SealRecords(LoadInteger<std::uint64_t>(footer_ + 24));
    const auto tables = LoadInteger<std::uint64_t>(footer_ + 16);
    if (tables > size_ - kChecksumSize) return;
    const std::uint64_t checksum =
        Checksum({bytes_ + tables, size_ - kChecksumSize - tables}, Checksum({bytes_, kTableSize}));
    StoreInteger(checksum, footer_ + 40);
  }

 private:
  // Of all records that the directory leads to, as far as it makes sense.
  void SealRecords(std::uint64_t place) {
    const std::uint64_t end = size_ - kFooterSize;
    while (place < end && end - place >= 8) {
      const std::uint64_t nameLength = LoadInteger<std::uint32_t>(bytes_ + place);
      std::uint64_t count = LoadInteger<std::uint32_t>(bytes_ + place + 4);
      place += 8 + nameLength;
      for (; count > 0 && place < end && end - place >= 4; --count, place += 4) {
        SealRecord(LoadInteger<std::uint32_t>(bytes_ + place));
      }
    }
  }

  void SealRecord(std::uint64_t position) {
    if (position < kTableSize || position + kRecordHead > size_ - kFooterSize) return;
    const std::uint64_t keySize = LoadInteger<std::uint32_t>(bytes_ + position);
    const std::uint64_t dataSize = LoadInteger<std::uint32_t>(bytes_ + position + 4);
    const std::uint64_t key = position + kRecordHead;
    if (dataSize < kDataHead + kChecksumSize) return;
    if (key + keySize + dataSize > size_ - kFooterSize) return;
    const std::uint64_t covered = keySize + dataSize - kChecksumSize;
    StoreInteger(Checksum({bytes_ + key, covered}, keySize), bytes_ + key + covered);
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
  if (!leftAsItIs && changed >= std::size_t{kTableSize} + kFooterSize) {
    Sealer(reinterpret_cast<char*>(data), changed).Seal();
  }
  return changed;
}
