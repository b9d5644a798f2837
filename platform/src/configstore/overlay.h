// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The changes of one transaction on top of a snapshot.
#ifndef PLATFORM_SRC_CONFIGSTORE_OVERLAY_H_
#define PLATFORM_SRC_CONFIGSTORE_OVERLAY_H_

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "configstore/snapshot.h"
#include "configstore/snapshot_index.h"
#include "util/checksum.h"

namespace TavConfigStore {

// A record where it is looked for.
struct FoundRecord {
  const RecordSource* source = nullptr;  // null: there is none
  std::uint32_t number = 0;              // which record of the source
};

class Overlay {
 public:
  // `base` may be null: nothing is stored yet.
  explicit Overlay(std::shared_ptr<const Snapshot> base)
      : base_(std::move(base)), key_(NewIndexKey()) {}

  const std::shared_ptr<const Snapshot>& base() const { return base_; }

  // The object as the transaction sees it; a null source when there is none.
  FoundRecord Find(const std::string& kind, const std::string& instance) const;
  // The objects of the kind as the transaction sees them, in the order of their first write.
  std::vector<FoundRecord> List(const std::string& kind) const;

  // One that is there already is replaced in its place; a new one comes last.
  void Set(EncodedRecord encoded);
  void Delete(const std::string& kind, const std::string& instance);
  void DeleteAll(const std::string& kind);

  // Writes the whole state, old and new, to a file. Raises like SnapshotWriter, and kCorrupt when a
  // damaged record would have to be carried over.
  void Write(const HostPlatform::Io::FileDescriptor& file, const std::string& path) const;

 private:
  class WrittenRecord;

  // With a key that nobody can know: instances that are made to collide cost no more than others.
  struct InstanceHash {
    std::uint64_t key;
    std::size_t operator()(std::string_view instance) const {
      return static_cast<std::size_t>(HostPlatform::Checksum(instance, key));
    }
  };

  // What the transaction did to one kind.
  struct Changes {
    explicit Changes(std::uint64_t key) : addedAt(0, InstanceHash{key}) {}

    bool baseDeleted = false;                   // all of the snapshot's records
    std::unordered_set<std::uint32_t> deleted;  // some of them
    std::unordered_map<std::uint32_t, std::shared_ptr<const WrittenRecord>> replaced;
    std::vector<std::shared_ptr<const WrittenRecord>> added;  // null where deleted again
    std::unordered_map<std::string_view, std::size_t, InstanceHash> addedAt;
  };

  std::optional<std::uint32_t> FindInBase(std::string_view kind, std::string_view instance,
                                          const Changes* changes) const;
  void LoadBase(const std::string& kind) const;
  FoundRecord BaseRecord(std::uint32_t number, const Changes* changes) const;
  const Changes* ChangesOf(const std::string& kind) const;

  std::shared_ptr<const Snapshot> base_;
  std::uint64_t key_;  // of this transaction, and of the snapshot that it writes
  std::map<std::string, Changes, std::less<>> changes_;
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_CONFIGSTORE_OVERLAY_H_
