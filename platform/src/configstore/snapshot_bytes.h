// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The bytes of a snapshot file, read by copying.
//
// The file is mapped, which pins its inode and costs the same for any size, but nothing looks into
// the mapping: a load from a page that the disk does not give, or that somebody cut off, would end
// the process by SIGBUS. The kernel copies what is wanted (process_vm_readv on the own process) and
// reports such a page as an error. Where the system does not map the file, or refuses that call,
// the whole file is read at opening.
#ifndef PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_BYTES_H_
#define PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_BYTES_H_

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "io/file_descriptor.h"

namespace TavConfigStore {

class SnapshotBytes {
 private:
  struct Copy {
    Copy* next;
  };
  struct Free {
    void operator()(Copy* copy) const { ::operator delete(copy); }
  };

 public:
  // A range of the file in memory of this process.
  class Part {
   public:
    std::string_view bytes() const { return bytes_; }

   private:
    friend class SnapshotBytes;
    std::string_view bytes_;
    std::unique_ptr<Copy, Free> copy_;  // null where they are in memory anyway
  };

  // Raises HostPlatform::Io::Error when a system call fails. `path` outlives this.
  SnapshotBytes(const HostPlatform::Io::FileDescriptor& file, std::uint64_t size,
                const std::string& path);
  SnapshotBytes(const SnapshotBytes&) = delete;
  SnapshotBytes& operator=(const SnapshotBytes&) = delete;
  ~SnapshotBytes();

  std::uint64_t size() const { return size_; }

  // Raises kCorrupt when the range is outside of the file, and kIoError, naming the range, when it
  // cannot be read.
  Part Read(std::uint64_t position, std::uint64_t size) const;
  // From now on the part stays as long as this. Any thread.
  const char* Keep(Part part) const noexcept;

  // Uses these bytes in place of the file's. Before any other thread knows this.
  void Replace(std::string bytes);
  // Gives back the mapping's pages, which copying has brought in; another copy brings them back.
  void ReleasePages() const noexcept;

 private:
  bool CopyOut(std::uint64_t position, std::size_t size, char* to) const noexcept;
  void ReadWhole(const HostPlatform::Io::FileDescriptor& file);
  [[noreturn]] void RaiseUnreadable(std::uint64_t position, std::size_t size) const;
  void Unmap() noexcept;

  const std::string& path_;
  std::uint64_t size_;
  std::string memory_;   // the file
  std::uint64_t start_;  // from there on
  void* mapping_;        // of all of it; null: it is in memory from 0 on
  std::size_t mappedSize_;
  mutable std::atomic<Copy*> kept_{nullptr};
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_BYTES_H_
