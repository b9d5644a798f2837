// Writes a snapshot to a new file, record by record.
#ifndef PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_WRITER_H_
#define PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_WRITER_H_

#include <cdb.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "io/file_descriptor.h"

namespace TavConfigStore {

// Kinds are begun one after the other, each followed by its records. Raises Io::Error, and
// ConfigStoreException (kNoSpace) when the format's 4 GiB are full; the file is of no use then.
class SnapshotWriter {
 public:
  // `path` is what errors name; file and path outlive the writer.
  SnapshotWriter(const HostPlatform::Io::FileDescriptor& file, const std::string& path);
  SnapshotWriter(const SnapshotWriter&) = delete;
  SnapshotWriter& operator=(const SnapshotWriter&) = delete;
  ~SnapshotWriter();

  void BeginKind(std::string_view name);
  void Add(std::string_view instance, std::string_view body);
  void Finish();

 private:
  struct Kind {
    std::string name;
    std::vector<std::uint32_t> positions;
  };

  std::string MakeDirectory() const;
  [[noreturn]] void RaiseWriteError() const;

  const HostPlatform::Io::FileDescriptor& file_;
  const std::string& path_;
  struct cdb_make maker_;
  bool finished_ = false;
  std::uint64_t position_;
  std::uint32_t recordCount_ = 0;
  std::vector<Kind> kinds_;
  std::string record_;  // of the one being added: key, then data; kept for its memory
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_WRITER_H_
