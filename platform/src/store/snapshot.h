// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// One committed state of the store: an immutable file.
//
// Shared by all threads; mutable are only the lazily published copies of verified pages and
// records. Readable after the file was replaced, for as long as it is referenced.
#ifndef PLATFORM_SRC_STORE_SNAPSHOT_H_
#define PLATFORM_SRC_STORE_SNAPSHOT_H_

#include <sys/stat.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "os/file_descriptor.h"
#include "services/published.h"
#include "store/object_contents.h"
#include "store/object_key.h"
#include "store/snapshot_bytes.h"
#include "store/snapshot_record.h"

namespace TavConfigStore {

class Snapshot final : public RecordSource {
 public:
  // Verifies footer, root and kinds, at a cost that is independent of the number of records. Null
  // if there is no file. Raises ConfigStoreException: kCorrupt, kUnsupported, kPermissionDenied,
  // kInsecure, kIoError.
  static std::shared_ptr<const Snapshot> Open(const std::string& path);

  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;

  // True if `status` is the file's, unchanged. The mapping pins the inode, so that its number
  // cannot be reused; a file that was read whole is recognised by its times.
  bool IsOf(const struct stat& status) const;
  // True if `status` has the file's inode, whatever else has changed.
  bool IsFile(const struct stat& status) const {
    return status.st_ino == status_.st_ino && status.st_dev == status_.st_dev;
  }

  // The records of one kind, in the order of their first write.
  struct Kind {
    std::string_view name;  // encoded
    std::uint64_t hash = 0;
    DecodedKind parts;
    std::uint32_t first = 0;  // number of its first record
    std::uint32_t count = 0;

    bool Has(std::uint32_t number) const { return number - first < count; }
  };
  const std::vector<Kind>& kinds() const { return kinds_; }
  // Null if there is none. The searches below take kinds of this snapshot only.
  const Kind* FindKind(std::string_view name) const;
  const Kind* FindKind(const ConfigStoreObjectId& id) const;

  // The record's number; nullopt if there is none. Raises kCorrupt if a damaged record or page
  // might hide it.
  std::optional<std::uint32_t> Find(const Kind& kind, std::string_view instance) const;
  // The number of the first record whose value `name` equals the string; nullopt if there is none.
  // Raises kWrongType if an earlier record has a number under that name, and kCorrupt if a damaged
  // record or page might hide the answer.
  std::optional<std::uint32_t> FindFirst(const Kind& kind, std::string_view name,
                                         std::string_view value) const;

  Record Read(std::uint32_t number) const override;
  std::string_view Body(std::uint32_t number) const override { return BodyOfRecord(Load(number)); }
  // The body of a record that is already verified; empty otherwise.
  std::string_view CheckedBody(std::uint32_t number) const noexcept {
    const char* const record = records_.Get(number);
    return record != nullptr ? BodyOfRecord(record) : std::string_view();
  }

  // Prefetches all records of a kind for a listing. Damaged ones are left to Read() and Body().
  // Raises kIoError if a record cannot be read, since the listing could not tell that it is
  // missing.
  void LoadAll(const Kind& kind) const;

  // Verifies all pages; raises kCorrupt for a damaged page, kIoError for an unreadable one.
  void CheckPages() const;

 private:
  // Page numbers of one index.
  struct Index {
    std::uint32_t start = 0;
    std::uint32_t homePages = 0;
    std::uint32_t pages = 0;
  };
  class Search;

  Snapshot(const std::string& path, const HostPlatform::Io::FileDescriptor& file,
           const struct stat& status);

  void ReadFooter();
  void ReadRoot(std::string_view root, std::uint64_t kindsStart);
  void ReadKinds(std::string_view kinds, std::uint32_t kindCount);
  void IndexKinds();
  const char* Page(std::uint32_t number) const;
  std::uint32_t Position(std::uint32_t number) const;
  std::uint32_t EndOf(std::uint32_t number) const;
  const Kind& KindOf(std::uint32_t number) const;
  SnapshotBytes::Part ReadRecord(std::uint32_t number) const;
  Record Split(std::string_view bytes, std::uint32_t number, const Kind& kind) const;
  const char* Load(std::uint32_t number) const;
  const char* Accept(SnapshotBytes::Part part, std::uint32_t number, const Kind& kind) const;
  std::uint32_t LoadRun(std::uint32_t first, std::uint32_t end, const Kind& kind) const;
  bool HasInstance(std::uint32_t number, const Kind& kind, std::string_view instance) const;
  std::optional<std::uint32_t> Walk(const Kind& kind, std::string_view name,
                                    std::string_view value) const;
  void RaiseIfUnreadable(const Kind& kind, std::uint32_t before) const;

  std::string path_;
  struct stat status_;
  SnapshotBytes bytes_;
  std::vector<std::uint32_t> unreadable_;  // damaged records of a format 1 file, in no index
  std::uint64_t key_ = 0;
  std::uint64_t recordsEnd_ = 0;  // start of the pages
  std::uint32_t recordCount_ = 0;
  std::uint32_t pageCount_ = 0;
  Index instances_;
  Index values_;
  std::vector<Kind> kinds_;
  std::vector<std::pair<std::uint64_t, std::uint32_t>> kindsByHash_;
  // Verified copies of pages and records; null if not read yet.
  HostPlatform::Published<const char> pages_;
  HostPlatform::Published<const char> records_;
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_STORE_SNAPSHOT_H_
