// Writes a snapshot to a new file, record by record.
#ifndef PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_WRITER_H_
#define PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_WRITER_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "configstore/key_index.h"
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

  void BeginKind(std::string_view name);
  void Add(std::string_view instance, std::string_view body);
  void Finish();

 private:
  struct Kind {
    std::string name;
    std::uint32_t hash = 0;
    std::vector<std::uint32_t> positions;
  };

  char* Room(std::size_t size);
  void Flush();
  std::string MakeDirectory() const;

  const HostPlatform::Io::FileDescriptor& file_;
  const std::string& path_;
  std::uint64_t position_;  // of the next record
  std::uint32_t recordCount_ = 0;
  std::vector<Kind> kinds_;
  KeyIndexBuilder index_;
  std::size_t capacity_;
  std::unique_ptr<char[]> buffer_;
  std::size_t unwritten_ = 0;  // that many bytes of the buffer
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_WRITER_H_
