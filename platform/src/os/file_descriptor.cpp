// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "os/file_descriptor.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <ctime>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>

#include "errors/error.h"
#include "os/file_lock.h"
#include "os/fork.h"

// The leak sanitizer's, in programs that have it.
extern "C" [[gnu::weak]] void __lsan_ignore_object(const void* object);  // NOLINT: its name

namespace HostPlatform::Io {
namespace {

constexpr int kFreeSlot = 0;  // never the number of a listed descriptor
constexpr int kNoFile = -1;
constexpr std::size_t kSlots = 64;
constexpr int kAttempts = 5;
constexpr struct timespec kLeasePause = {0, 1'000'000};

// A list that grows with the number of simultaneously open files and never shrinks.
struct SlotBlock {
  std::atomic<int> slots[kSlots] = {};
  std::atomic<SlotBlock*> next{nullptr};
};
constinit SlotBlock firstBlock;

SlotBlock* NextOf(SlotBlock* block) {
  if (SlotBlock* const next = block->next.load()) return next;
  auto added = std::make_unique<SlotBlock>();
  SlotBlock* next = nullptr;
  if (!block->next.compare_exchange_strong(next, added.get())) return next;
  if (&__lsan_ignore_object != nullptr) __lsan_ignore_object(added.get());
  return added.release();
}

std::atomic<int>* TakeSlot() {
  for (SlotBlock* block = &firstBlock;; block = NextOf(block)) {
    for (std::atomic<int>& slot : block->slots) {
      int expected = kFreeSlot;
      if (slot.load(std::memory_order_relaxed) == kFreeSlot &&
          slot.compare_exchange_strong(expected, kNoFile)) {
        return &slot;
      }
    }
  }
}

template <typename Visit>
void ForEachOpen(Visit visit) {
  for (SlotBlock* block = &firstBlock; block != nullptr; block = block->next.load()) {
    for (std::atomic<int>& slot : block->slots) {
      if (slot.load() > STDERR_FILENO) visit(slot.exchange(kNoFile));
    }
  }
}

bool IsClosed(int fd) {
  return fcntl(fd, F_GETFD) < 0;
}

// Occupies the free numbers among 0 to 2 during its lifetime, by O_PATH descriptors that can be
// neither read nor written. Otherwise a file could get such a number for a moment, before it is
// moved up, and stray output of another thread could reach it.
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

// Duplicates the descriptor above 2 and closes it; -1 if no number is free.
int MoveUp(int fd) {
  const int above = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const ErrnoKeeper keeper;
  close(fd);
  return above;
}

struct FileToOpen {
  int directory;
  const char* path;
  int flags;
  mode_t mode;
  bool guarded;
};

int Open(const FileToOpen& file) {
  const std::lock_guard lock(OpeningMutex());
  std::optional<StandardStreamsHolder> holder;
  if (file.guarded) holder.emplace();
  const int fd = RetryInterrupted(
      [&] { return openat(file.directory, file.path, file.flags | O_CLOEXEC, file.mode); });
  return fd >= 0 && fd <= STDERR_FILENO ? MoveUp(fd) : fd;
}

// Retries while a file server holds a lease. Each attempt makes the kernel recall the lease; with
// O_NONBLOCK open() does not wait for it.
int OpenBehindLease(const FileToOpen& file) {
  using Clock = std::chrono::steady_clock;
  int fd = Open(file);
  if (fd >= 0 || errno != EAGAIN) return fd;
  const Clock::time_point giveUp = Clock::now() + LockDeadline();
  while (fd < 0 && errno == EAGAIN && Clock::now() < giveUp) {
    nanosleep(&kLeasePause, nullptr);
    fd = Open(file);
  }
  return fd;
}

}  // namespace

FileDescriptor::FileDescriptor(int directory, const char* path, int flags, mode_t mode,
                               bool guarded)
    : slot_(TakeSlot()) {
  for (int attempt = 1;; ++attempt) {
    const ForkWatch watch;
    slot_->store(OpenBehindLease({directory, path, flags, mode, guarded}));
    if (get() < 0 || !watch.SawFork() || (flags & O_EXCL) != 0 || attempt == kAttempts) return;
    Close();
    WaitForForks();
  }
}

FileDescriptor::~FileDescriptor() {
  if (slot_ == nullptr) return;
  const ErrnoKeeper keeper;
  Close();
  slot_->store(kFreeSlot);
}

int FileDescriptor::Close() {
  const int fd = slot_ == nullptr ? kNoFile : slot_->exchange(kNoFile);
  if (fd < 0) return 0;
  const int result = close(fd);  // not repeated: the descriptor is released even on failure
  return result == 0 || errno == EINTR ? 0 : errno;
}

void FileDescriptor::CloseAllInChild() {
  const ErrnoKeeper keeper;
  ForEachOpen([](int fd) { close(fd); });
}

void FileDescriptor::ForgetAllInChild() {
  ForEachOpen([](int) {});
}

struct stat StatOf(const FileDescriptor& file, const std::string& path) {
  struct stat status;
  if (fstat(file.get(), &status) != 0) RaiseSystemError(errno, path, "examine");
  return status;
}

std::uint64_t LargestFile() {
  struct rlimit limit;
  const bool isLimited = getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
  return isLimited ? limit.rlim_cur : std::numeric_limits<std::uint64_t>::max();
}

void CheckFileSize(std::uint64_t position, const std::string& path) {
  if (position < LargestFile()) return;
  throw Error(
      ErrorKind::kNoSpace, path + ": cannot write", EFBIG,
      "the process may not make files so large (RLIMIT_FSIZE); start it with a higher limit");
}

void WriteAll(const FileDescriptor& file, std::string_view bytes, const std::string& path) {
  const off_t start = lseek(file.get(), 0, SEEK_CUR);
  for (auto position = static_cast<std::uint64_t>(start < 0 ? 0 : start); !bytes.empty();) {
    CheckFileSize(position, path);
    const ssize_t written =
        RetryInterrupted([&] { return write(file.get(), bytes.data(), bytes.size()); });
    if (written < 0) RaiseSystemError(errno, path, "write");
    if (written == 0) RaiseSystemError(EIO, path, "write");  // avoids an endless loop
    bytes.remove_prefix(static_cast<std::size_t>(written));
    position += static_cast<std::uint64_t>(written);
  }
}

void StartFlush(const FileDescriptor& file) {
  const ErrnoKeeper keeper;
  sync_file_range(file.get(), 0, 0, SYNC_FILE_RANGE_WRITE);  // size 0: to the end
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
