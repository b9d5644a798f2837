// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Writer of a snapshot file, record by record.
#ifndef PLATFORM_SRC_STORE_SNAPSHOT_WRITER_H_
#define PLATFORM_SRC_STORE_SNAPSHOT_WRITER_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "os/file_descriptor.h"
#include "store/snapshot_index.h"

namespace TavConfigStore {

// Takes kind by kind, each followed by its records. Raises Io::Error, and ConfigStoreException
// (kNoSpace) beyond the format's limit of 4 GiB; the file is unusable then.
class SnapshotWriter {
 public:
  // `path` is for error messages; file and path must outlive the writer. `key` is the snapshot's.
  SnapshotWriter(const HostPlatform::Io::FileDescriptor& file, const std::string& path,
                 std::uint64_t key);
  SnapshotWriter(const SnapshotWriter&) = delete;
  SnapshotWriter& operator=(const SnapshotWriter&) = delete;

  void BeginKind(std::string_view name);
  // `body` must stay valid until Finish() returns.
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
  std::size_t unwritten_ = 0;  // bytes in the buffer
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_STORE_SNAPSHOT_WRITER_H_
