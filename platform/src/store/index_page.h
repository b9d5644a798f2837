// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// One page of an index, and the hashes of its entries.
#ifndef PLATFORM_SRC_STORE_INDEX_PAGE_H_
#define PLATFORM_SRC_STORE_INDEX_PAGE_H_

#include <cstdint>
#include <string_view>

#include "services/bytes.h"
#include "services/checksum.h"
#include "store/snapshot_format.h"

namespace TavConfigStore {

inline std::uint64_t HashOfKind(std::string_view name, std::uint64_t key) {
  return HostPlatform::Checksum(name, key);
}
inline std::uint64_t HashOfRecord(std::string_view instance, std::uint64_t kind) {
  return HostPlatform::Checksum(instance, kind);
}
inline std::uint64_t HashOfName(std::string_view name, std::uint64_t kind) {
  return HostPlatform::Checksum(name, kind + 1);
}
inline std::uint64_t HashOfValue(std::string_view value, std::uint64_t name) {
  return HostPlatform::Checksum(value, name);
}

inline std::uint32_t HomePage(std::uint64_t hash, std::uint32_t homePages) {
  return static_cast<std::uint32_t>(((hash >> 32) * homePages) >> 32);
}

// The checksum at the end of the page; `number` is the page's number in the snapshot.
inline std::uint64_t ChecksumOfPage(const char* page, std::uint64_t key, std::uint32_t number) {
  return HostPlatform::Checksum({page, SnapshotFormat::kPageContent}, key + number);
}

// View of a page. Does not verify the checksum; safe for any bytes.
class IndexPage {
 public:
  explicit IndexPage(const char* bytes) : bytes_(bytes) {}

  std::uint32_t count() const {
    const auto count = HostPlatform::LoadInteger<std::uint32_t>(bytes_);
    return count < SnapshotFormat::kEntriesPerPage ? count : SnapshotFormat::kEntriesPerPage;
  }
  bool GoesOn() const { return HostPlatform::LoadInteger<std::uint32_t>(bytes_ + 4) != 0; }
  std::uint64_t hash(std::uint32_t entry) const {
    return HostPlatform::LoadInteger<std::uint64_t>(bytes_ + SnapshotFormat::kHashesInPage +
                                                    std::size_t{8} * entry);
  }
  std::uint32_t number(std::uint32_t entry) const {
    return HostPlatform::LoadInteger<std::uint32_t>(bytes_ + SnapshotFormat::kNumbersInPage +
                                                    std::size_t{4} * entry);
  }

  // Lower bound: the first entry whose hash is at least `wanted`; count() if there is none.
  std::uint32_t Find(std::uint64_t wanted) const {
    std::uint32_t low = 0;
    for (std::uint32_t high = count(); low < high;) {
      const std::uint32_t middle = low + (high - low) / 2;
      if (hash(middle) < wanted) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    return low;
  }

 private:
  const char* bytes_;
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_STORE_INDEX_PAGE_H_
