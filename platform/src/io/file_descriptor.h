// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// An open descriptor that belongs to this process alone.
//
// Above 2, so that a program whose standard streams are closed cannot write its messages into a
// store; close-on-exec; and closed in a forked child, so that a child neither keeps its parent's
// lock alive nor can release it. All are listed in slots that a child can read whenever it was
// forked: one that is listed is open. A file that is opened while another thread forks is opened
// again, for the child may have a copy of it that it does not know.
#ifndef PLATFORM_SRC_IO_FILE_DESCRIPTOR_H_
#define PLATFORM_SRC_IO_FILE_DESCRIPTOR_H_

#include <sys/stat.h>
#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

namespace HostPlatform::Io {

class FileDescriptor {
 public:
  FileDescriptor() = default;
  // As openat(), with O_CLOEXEC added. On failure get() is -1 and errno says why: EAGAIN when
  // another program has a lease on the file and does not give it back within the locks' deadline.
  FileDescriptor(int directory, const char* path, int flags, mode_t mode = 0);
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor();

  // -1 when the open failed, or in a child of the process that opened it.
  int get() const { return slot_ == nullptr ? -1 : slot_->load(std::memory_order_relaxed); }
  explicit operator bool() const { return get() >= 0; }

  // Closes and reports what close() says: 0 or an errno value. Does nothing the second time.
  int Close();

  // Closes every descriptor of the parent in a child that was just forked.
  static void CloseAllInChild();
  // The same without closing, for a child that may have closed them all, and have others by now.
  static void ForgetAllInChild();

 private:
  std::atomic<int>* slot_ = nullptr;
};

// fstat(); raises Error naming `path`.
struct stat StatOf(const FileDescriptor& file, const std::string& path);

// Writes all of `bytes` at the end of what was written so far. Raises Error naming `path`.
void WriteAll(const FileDescriptor& file, std::string_view bytes, const std::string& path);

// The size beyond which a write would not fail but raise SIGXFSZ, which ends the program.
std::uint64_t LargestFile();

// Raises Error (kNoSpace) when that is reached, so that the write is not made.
void CheckFileSize(std::uint64_t position, const std::string& path);

// Has the disk begin with what was written so far, while the rest is still being made: the flush at
// the end then finds less to do. Promises nothing, and reports nothing: that is the flush's part.
void StartFlush(const FileDescriptor& file);

// `size` bytes of the file from `offset` on; raises Error naming `path`, also when the file is
// shorter.
void ReadAt(const FileDescriptor& file, std::size_t offset, char* bytes, std::size_t size,
            const std::string& path);

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_IO_FILE_DESCRIPTOR_H_
