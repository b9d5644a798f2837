// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A descriptor that is closed on exec and in a forked child.
//
// A child must neither keep its parent's lock alive nor release it. All descriptors are listed in
// slots that a child can read whenever the fork happened; a listed descriptor is open. A file that
// is opened while another thread forks is opened again, because the child may hold an unlisted
// copy. Descriptors are above 2, so that a program with closed standard streams cannot write its
// messages into a store.
#ifndef PLATFORM_SRC_OS_FILE_DESCRIPTOR_H_
#define PLATFORM_SRC_OS_FILE_DESCRIPTOR_H_

#include <fcntl.h>
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
  // `guarded`: the file does not even have a number below 3 for the moment until it is moved up.
  // Costs three system calls.
  FileDescriptor(int directory, const char* path, int flags, mode_t mode, bool guarded);
  // Guarded if the descriptor can be written to.
  FileDescriptor(int directory, const char* path, int flags, mode_t mode = 0)
      : FileDescriptor(directory, path, flags, mode, (flags & O_ACCMODE) != O_RDONLY) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor();

  // -1 when the open failed, or in a child of the process that opened it.
  int get() const { return slot_ == nullptr ? -1 : slot_->load(std::memory_order_relaxed); }
  explicit operator bool() const { return get() >= 0; }

  // Returns 0 or the errno value of close(). Does nothing if closed already.
  int Close();

  // Closes the parent's descriptors in a child that was just forked.
  static void CloseAllInChild();
  // Forgets the parent's descriptors without closing them: the child may have reused the numbers.
  static void ForgetAllInChild();

 private:
  std::atomic<int>* slot_ = nullptr;
};

// fstat(); raises Error naming `path`.
struct stat StatOf(const FileDescriptor& file, const std::string& path);

// Writes all of `bytes` at the file's position. Raises Error naming `path`.
void WriteAll(const FileDescriptor& file, std::string_view bytes, const std::string& path);

// RLIMIT_FSIZE. A write beyond it raises SIGXFSZ, which ends the program.
std::uint64_t LargestFile();

// Raises Error (kNoSpace) before a write at or beyond that limit.
void CheckFileSize(std::uint64_t position, const std::string& path);

// Starts writing dirty pages to the disk, so that the final flush takes less time. No guarantee, no
// errors.
void StartFlush(const FileDescriptor& file);

// `size` bytes of the file from `offset` on; raises Error naming `path`, also when the file is
// shorter.
void ReadAt(const FileDescriptor& file, std::size_t offset, char* bytes, std::size_t size,
            const std::string& path);

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_OS_FILE_DESCRIPTOR_H_
