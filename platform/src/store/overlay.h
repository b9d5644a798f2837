// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Uncommitted changes of one transaction on top of a snapshot.
#ifndef PLATFORM_SRC_STORE_OVERLAY_H_
#define PLATFORM_SRC_STORE_OVERLAY_H_

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "services/checksum.h"
#include "store/snapshot.h"
#include "store/snapshot_index.h"

namespace TavConfigStore {

// Result of a search for a record.
struct FoundRecord {
  const RecordSource* source = nullptr;  // null: not found
  std::uint32_t number = 0;              // the record's number in the source
};

class Overlay {
 public:
  // A null `base` means that nothing is stored yet.
  explicit Overlay(std::shared_ptr<const Snapshot> base)
      : base_(std::move(base)), key_(NewIndexKey()) {}

  const std::shared_ptr<const Snapshot>& base() const { return base_; }

  // The object as seen by the transaction.
  FoundRecord Find(const std::string& kind, const std::string& instance) const;
  // The objects of the kind as seen by the transaction, in the order of their first write.
  std::vector<FoundRecord> List(const std::string& kind) const;

  // Replaces an existing object in its place, or appends a new one.
  void Set(EncodedRecord encoded);
  void Delete(const std::string& kind, const std::string& instance);
  void DeleteAll(const std::string& kind);

  // Writes the merged state to a file. Raises like SnapshotWriter, and kCorrupt if a damaged record
  // would have to be copied.
  void Write(const HostPlatform::Io::FileDescriptor& file, const std::string& path) const;

 private:
  class WrittenRecord;

  // Keyed with a random number, so that prepared instances cannot collide.
  struct InstanceHash {
    std::uint64_t key;
    std::size_t operator()(std::string_view instance) const {
      return static_cast<std::size_t>(HostPlatform::Checksum(instance, key));
    }
  };

  // Changes of one kind.
  struct Changes {
    explicit Changes(std::uint64_t key) : addedAt(0, InstanceHash{key}) {}

    bool baseDeleted = false;                   // all records of the snapshot are deleted
    std::unordered_set<std::uint32_t> deleted;  // numbers of deleted records
    std::unordered_map<std::uint32_t, std::shared_ptr<const WrittenRecord>> replaced;
    std::vector<std::shared_ptr<const WrittenRecord>> added;  // null: deleted again
    std::unordered_map<std::string_view, std::size_t, InstanceHash> addedAt;
  };

  std::optional<std::uint32_t> FindInBase(std::string_view kind, std::string_view instance,
                                          const Changes* changes) const;
  void LoadBase(const std::string& kind) const;
  FoundRecord BaseRecord(std::uint32_t number, const Changes* changes) const;
  const Changes* ChangesOf(const std::string& kind) const;

  std::shared_ptr<const Snapshot> base_;
  std::uint64_t key_;  // random key of InstanceHash and of the written snapshot
  std::map<std::string, Changes, std::less<>> changes_;
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_STORE_OVERLAY_H_
