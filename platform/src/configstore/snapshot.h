// One committed state of the store: a mapped, immutable file.
//
// Shared by all threads; nothing in it changes but the notes of records that were found good. The
// mapping stays valid when the file is renamed over, for as long as anything refers to it.
#ifndef PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_H_
#define PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_H_

#include <sys/stat.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "configstore/key_index.h"
#include "configstore/object_contents.h"
#include "configstore/object_key.h"
#include "io/file_descriptor.h"
#include "io/file_mapping.h"

namespace TavConfigStore {

class Snapshot final : public RecordSource {
 public:
  // Maps the file and checks everything that leads to its records. Null when there is no file.
  // Raises ConfigStoreException: kCorrupt, kUnsupported, kPermissionDenied, kInsecure, kIoError.
  static std::shared_ptr<const Snapshot> Open(const std::string& path);

  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;

  // Whether `status` is that of the mapped file, unchanged. A mapping pins its inode, so the
  // numbers cannot have passed to another file.
  bool IsOf(const struct stat& status) const;
  // Whether it is that file, whatever became of its owner and mode.
  bool IsFile(const struct stat& status) const {
    return status.st_ino == status_.st_ino && status.st_dev == status_.st_dev;
  }

  // The records of one kind, in the order of their first write.
  struct Kind {
    std::string_view name;  // encoded
    std::uint32_t hash = 0;
    DecodedKind parts;
    std::uint32_t first = 0;  // number of its first record
    std::uint32_t count = 0;
    const char* positions = nullptr;
  };
  const std::vector<Kind>& kinds() const { return kinds_; }
  // Null when there is none. Of this snapshot, like the kinds that are given to Find().
  const Kind* FindKind(std::string_view name) const;
  const Kind* FindKind(const ConfigStoreObjectId& id) const;

  // The number of the record; nothing when there is none. Raises kCorrupt where a damaged record
  // might be the one that is looked for.
  std::optional<std::uint32_t> Find(const Kind& kind, std::string_view instance) const;

  Record Read(std::uint32_t number) const override;
  std::string_view Body(std::uint32_t number) const override;
  // The body of a record that was checked before; nothing of any other.
  std::string_view CheckedBody(std::uint32_t number) const noexcept {
    const std::uint64_t body = bodies_[number].load(std::memory_order_relaxed);
    if (body == 0) return std::string_view();
    return std::string_view(file_.data() + (body >> 32), body & 0xffffffff);
  }

 private:
  struct Location {
    const Kind* kind;
    std::uint32_t position;
  };

  Snapshot(const std::string& path, const HostPlatform::Io::FileDescriptor& file,
           const struct stat& status);

  void CheckFooter();
  void ReadDirectory(std::string_view directory, std::uint32_t kindCount);
  std::string_view Bytes(std::uint64_t position, std::uint64_t size) const;
  void CheckKinds() const;
  void CheckOrder() const;
  Location Locate(std::uint32_t number) const;
  std::uint32_t EndOf(std::uint32_t number) const;
  std::uint32_t NumberOf(std::uint32_t position) const;
  Record ReadAt(const Location& location, std::uint32_t end) const;
  void Verify(std::uint32_t number, const Location& location, const Record& record) const;
  KeyIndexSearch Search(std::uint32_t hash) const;
  std::optional<std::uint32_t> NumberAt(std::uint32_t position, const Kind& kind,
                                        std::string_view instance) const;
  void RaiseIfDamaged(std::uint32_t hash) const;

  std::string path_;
  struct stat status_;
  HostPlatform::Io::FileMapping mapping_;
  std::string_view file_;  // the whole of it
  std::uint32_t recordsEnd_ = 0;
  std::uint32_t recordCount_ = 0;
  std::vector<Kind> kinds_;
  // By record number: where the body of a record that was found good is; 0 when not yet looked at.
  std::unique_ptr<std::atomic<std::uint64_t>[]> bodies_;
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_H_
