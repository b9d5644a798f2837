// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Builder of everything behind the records of a snapshot: pages, indexes, kinds, root, footer.
#ifndef PLATFORM_SRC_STORE_SNAPSHOT_INDEX_H_
#define PLATFORM_SRC_STORE_SNAPSHOT_INDEX_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace TavConfigStore {

// A random key for a new snapshot.
std::uint64_t NewIndexKey();

// Takes kind by kind, each followed by its records, which are numbered in this order.
class SnapshotIndex {
 public:
  explicit SnapshotIndex(std::uint64_t key) : key_(key) {}

  void BeginKind(std::string_view name);
  // `body` must stay valid until Finish() returns.
  void Add(std::uint32_t position, std::string_view instance, std::string_view body);
  // Adds a damaged record, whose instance and values are unknown, to the positions only.
  void AddUnreadable(std::uint32_t position) {
    positions_.push_back(position);
    ++kinds_.back().count;
  }
  std::uint32_t recordCount() const { return static_cast<std::uint32_t>(positions_.size()); }

  // Pages, kinds, root and footer of a file whose records end at this position.
  std::string Finish(std::uint64_t recordsEnd);

 private:
  struct Kind {
    std::string name;
    std::uint64_t hash = 0;
    std::uint32_t count = 0;
  };
  struct Entry {
    std::uint64_t hash = 0;
    std::uint32_t number = 0;
    std::uint32_t kind = 0;
    const char* value = nullptr;  // the value in its body; null: entry of a record
  };
  struct Size {
    std::uint32_t homePages = 0;
    std::uint32_t pages = 0;
  };

  static void Sort(std::vector<Entry>* entries);
  static bool IsSame(const Entry& a, const Entry& b);
  void DropRepeatedValues();
  void AppendPositions(std::string* bytes);
  Size AppendIndex(const std::vector<Entry>& entries, std::string* bytes);
  char* AppendPage(std::string* bytes);
  void SealPage(char* page);

  std::uint64_t key_;
  std::vector<Kind> kinds_;
  std::vector<std::uint32_t> positions_;
  std::vector<Entry> records_;
  std::vector<Entry> values_;
  std::uint32_t pageCount_ = 0;
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_STORE_SNAPSHOT_INDEX_H_
