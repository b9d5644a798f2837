// The index of a constant database: from the hash of a key to the records that may have it.
//
// The lowest byte of a hash chooses one of 256 tables, the rest of it the first slot to look at;
// the search goes on from slot to slot, around the end, up to an empty one. A slot is u32 hash,
// u32 position. The file begins with u32 start, u32 number of slots of each table.
#ifndef PLATFORM_SRC_CONFIGSTORE_KEY_INDEX_H_
#define PLATFORM_SRC_CONFIGSTORE_KEY_INDEX_H_

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "util/bytes.h"

namespace TavConfigStore {

// The hash of a key can be taken of one part of it after the other, from kEmptyHash on.
inline constexpr std::uint32_t kEmptyHash = 5381;
inline std::uint32_t ContinueHash(std::uint32_t hash, std::string_view bytes) {
  for (const char byte : bytes)
    hash = (hash * 33) ^ static_cast<unsigned char>(byte);
  return hash;
}

inline constexpr std::uint32_t kIndexTables = 256;
inline constexpr std::uint32_t kIndexSlotSize = 8;

class KeyIndexBuilder {
 public:
  // No record is at position 0.
  void Add(std::uint32_t hash, std::uint32_t position) {
    used_.push_back({hash, position});
    ++counts_[hash % kIndexTables];
  }

  // Appends the slots of all tables, which will be at `start` in the file, and where each is.
  void Append(std::uint64_t start, std::string* slots, std::string* tables) const;

 private:
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t position = 0;
  };
  std::vector<Slot> used_;  // in the order of adding
  std::array<std::uint32_t, kIndexTables> counts_ = {};
};

// One search through the slots of the hash's table.
class KeyIndexSearch {
 public:
  KeyIndexSearch(std::string_view slots, std::uint32_t hash)
      : slots_(slots), hash_(hash), left_(slots.size() / kIndexSlotSize) {
    if (left_ != 0) next_ = (hash / kIndexTables) % left_;
  }

  // The position of the next record with this hash; 0 after the last.
  std::uint32_t Next() {
    while (left_ != 0) {
      const char* const slot = slots_.data() + kIndexSlotSize * next_;
      --left_;
      if (++next_ == slots_.size() / kIndexSlotSize) next_ = 0;
      const auto position = HostPlatform::LoadInteger<std::uint32_t>(slot + 4);
      if (position == 0) left_ = 0;
      if (HostPlatform::LoadInteger<std::uint32_t>(slot) == hash_) return position;
    }
    return 0;
  }

 private:
  std::string_view slots_;
  std::uint32_t hash_;
  std::size_t left_;
  std::size_t next_ = 0;
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_CONFIGSTORE_KEY_INDEX_H_
