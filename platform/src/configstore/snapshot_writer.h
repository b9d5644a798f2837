// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Writes a snapshot to a new file, record by record.
#ifndef PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_WRITER_H_
#define PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_WRITER_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "configstore/snapshot_index.h"
#include "io/file_descriptor.h"

namespace TavConfigStore {

// Kinds are begun one after the other, each followed by its records. Raises Io::Error, and
// ConfigStoreException (kNoSpace) when the format's 4 GiB are full; the file is of no use then.
class SnapshotWriter {
 public:
  // `path` is what errors name; file and path outlive the writer. `key` is that of the snapshot.
  SnapshotWriter(const HostPlatform::Io::FileDescriptor& file, const std::string& path,
                 std::uint64_t key);
  SnapshotWriter(const SnapshotWriter&) = delete;
  SnapshotWriter& operator=(const SnapshotWriter&) = delete;

  void BeginKind(std::string_view name);
  // `body` stays where it is until Finish() returns.
  void Add(std::string_view instance, std::string_view body);
  void Finish();

 private:
  char* Room(std::size_t size);
  void Flush();

  const HostPlatform::Io::FileDescriptor& file_;
  const std::string& path_;
  std::uint64_t position_ = 0;  // of the next record
  std::string kind_;
  std::uint64_t key_;
  SnapshotIndex index_;
  std::size_t capacity_;
  std::unique_ptr<char[]> buffer_;
  std::size_t unwritten_ = 0;  // that many bytes of the buffer
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_WRITER_H_
