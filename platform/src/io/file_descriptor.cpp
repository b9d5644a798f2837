// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "io/file_descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "io/error.h"
#include "io/fork.h"

namespace HostPlatform::Io {
namespace {

FileDescriptor* firstOpen = nullptr;  // guarded by DescriptorMutex()

bool IsClosed(int fd) {
  return fcntl(fd, F_GETFD) < 0;
}

// Takes those of the numbers 0 to 2 that are free, for its lifetime, with descriptors that can be
// neither read nor written. A file that was opened there and moved up afterwards would be open to
// another thread's stray output for a moment, and a moment is enough.
class StandardStreamsHolder {
 public:
  StandardStreamsHolder() {
    for (int number = 0; number <= STDERR_FILENO; ++number) {
      if (IsClosed(number)) held_[number] = open("/", O_PATH | O_CLOEXEC);
    }
  }
  StandardStreamsHolder(const StandardStreamsHolder&) = delete;
  StandardStreamsHolder& operator=(const StandardStreamsHolder&) = delete;
  ~StandardStreamsHolder() {
    const ErrnoKeeper keeper;
    for (const int fd : held_) {
      if (fd >= 0) close(fd);
    }
  }

 private:
  int held_[STDERR_FILENO + 1] = {-1, -1, -1};
};

// The same file above the standard streams; -1 when there is no room.
int MoveUp(int fd) {
  const int above = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const ErrnoKeeper keeper;
  close(fd);
  return above;
}

}  // namespace

FileDescriptor::FileDescriptor(int directory, const char* path, int flags, mode_t mode) {
  // Opening and listing are one step: a fork between the two would leave the child a copy.
  const std::lock_guard lock(DescriptorMutex());
  const StandardStreamsHolder holder;
  fd_ = RetryInterrupted([&] { return openat(directory, path, flags | O_CLOEXEC, mode); });
  // Where the number could not be held, or another thread has closed it just now.
  if (fd_ >= 0 && fd_ <= STDERR_FILENO) fd_ = MoveUp(fd_);
  if (fd_ < 0) return;
  next_ = firstOpen;
  if (next_ != nullptr) next_->previous_ = this;
  firstOpen = this;
}

FileDescriptor::~FileDescriptor() {
  const ErrnoKeeper keeper;
  Close();
}

int FileDescriptor::Close() {
  const std::lock_guard lock(DescriptorMutex());
  if (fd_ < 0) return 0;
  (previous_ != nullptr ? previous_->next_ : firstOpen) = next_;
  if (next_ != nullptr) next_->previous_ = previous_;
  const int result = close(fd_);  // never repeated: the descriptor is gone whatever it says
  fd_ = -1;
  return result == 0 || errno == EINTR ? 0 : errno;
}

void FileDescriptor::CloseAllInChild() {
  const ErrnoKeeper keeper;
  for (FileDescriptor* open = firstOpen; open != nullptr;) {
    FileDescriptor* const next = open->next_;
    close(open->fd_);
    open->fd_ = -1;
    open->previous_ = open->next_ = nullptr;
    open = next;
  }
  firstOpen = nullptr;
}

struct stat StatOf(const FileDescriptor& file, const std::string& path) {
  struct stat status;
  if (fstat(file.get(), &status) != 0) RaiseSystemError(errno, path, "examine");
  return status;
}

void WriteAll(const FileDescriptor& file, std::string_view bytes, const std::string& path) {
  while (!bytes.empty()) {
    const ssize_t written =
        RetryInterrupted([&] { return write(file.get(), bytes.data(), bytes.size()); });
    if (written < 0) RaiseSystemError(errno, path, "write");
    if (written == 0) RaiseSystemError(EIO, path, "write");  // never to loop for nothing
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

void StartFlush(const FileDescriptor& file) {
  const ErrnoKeeper keeper;
  sync_file_range(file.get(), 0, 0, SYNC_FILE_RANGE_WRITE);  // 0 bytes: up to the end
}

void ReadAt(const FileDescriptor& file, std::size_t offset, char* bytes, std::size_t size,
            const std::string& path) {
  for (std::size_t done = 0; done < size;) {
    const ssize_t got = RetryInterrupted([&] {
      return pread(file.get(), bytes + done, size - done, static_cast<off_t>(offset + done));
    });
    if (got < 0) RaiseSystemError(errno, path, "read");
    if (got == 0) throw Error(ErrorKind::kOther, path + ": cannot read: it ends too early");
    done += static_cast<std::size_t>(got);
  }
}

}  // namespace HostPlatform::Io
