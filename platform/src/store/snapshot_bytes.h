// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Bytes of a snapshot file, read by copying from a mapping.
//
// The mapping pins the inode and costs the same for any size, but it is never dereferenced: a load
// from a page that the disk cannot read, or that was truncated, would end the process by SIGBUS.
// The kernel copies from it instead (process_vm_readv on the own process) and reports such a page
// as an error. If mmap() or process_vm_readv() is refused, the whole file is read at opening.
#ifndef PLATFORM_SRC_STORE_SNAPSHOT_BYTES_H_
#define PLATFORM_SRC_STORE_SNAPSHOT_BYTES_H_

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "os/file_descriptor.h"

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
    std::unique_ptr<Copy, Free> copy_;  // null if the whole file is in memory
  };

  // Raises HostPlatform::Io::Error if a system call fails. `path` must outlive the object.
  SnapshotBytes(const HostPlatform::Io::FileDescriptor& file, std::uint64_t size,
                const std::string& path);
  SnapshotBytes(const SnapshotBytes&) = delete;
  SnapshotBytes& operator=(const SnapshotBytes&) = delete;
  ~SnapshotBytes();

  std::uint64_t size() const { return size_; }

  // Raises kCorrupt if the range is outside of the file, and kIoError with the range if it cannot
  // be read.
  Part Read(std::uint64_t position, std::uint64_t size) const;
  // Extends the part's life to this object's. Thread-safe.
  const char* Keep(Part part) const noexcept;

  // Replaces the file's bytes. Not thread-safe.
  void Replace(std::string bytes);
  // Releases the mapping's resident pages (MADV_DONTNEED); later copies fault them in again.
  void ReleasePages() const noexcept;

 private:
  bool CopyOut(std::uint64_t position, std::size_t size, char* to) const noexcept;
  void ReadWhole(const HostPlatform::Io::FileDescriptor& file);
  [[noreturn]] void RaiseUnreadable(std::uint64_t position, std::size_t size) const;
  void Unmap() noexcept;

  const std::string& path_;
  std::uint64_t size_;
  std::string memory_;  // the file's bytes from start_ on
  std::uint64_t start_;
  void* mapping_;  // of the whole file; null: memory_ holds all of it
  std::size_t mappedSize_;
  mutable std::atomic<Copy*> kept_{nullptr};
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_STORE_SNAPSHOT_BYTES_H_
