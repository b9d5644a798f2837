// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "os/file_lock.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <thread>

#include "errors/error.h"
#include "platform/admin.h"

namespace HostPlatform {
namespace Io {
namespace {

constinit std::atomic<std::uint32_t> lockTimeout{30000};

constexpr mode_t kLockFileMode = 0600;
constexpr int kOpenFlags = O_RDWR | O_NOFOLLOW | O_NONBLOCK;
constexpr off_t kGateByte = 0;
constexpr off_t kDataByte = 1;
constexpr off_t kBothBytes = 2;
constexpr off_t kToTheEnd = 0;
constexpr std::size_t kHolderSize = 128;

// Yields before the first sleep, because most holders release the lock sooner than a sleep ends.
constexpr int kYields = 500;
constexpr auto kFirstPause = std::chrono::microseconds(20);
constexpr auto kLongestPause = std::chrono::microseconds(2000);

struct flock ByteRange(short type, off_t byte, off_t count) {
  struct flock range = {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = byte;
  range.l_len = count;
  return range;
}

// Open-file-description locks. Returns 0 or an errno value.
int SetLock(int fd, short type, off_t byte, off_t count = 1) {
  struct flock range = ByteRange(type, byte, count);
  return RetryInterrupted([&] { return fcntl(fd, F_OFD_SETLK, &range); }) == 0 ? 0 : errno;
}

// What the last writer left, for terminals.
std::string LastWriter(const FileDescriptor& file) {
  char text[kHolderSize] = {};
  const ssize_t got = RetryInterrupted([&] { return pread(file.get(), text, sizeof text - 1, 0); });
  std::string writer(text, got > 0 ? static_cast<std::size_t>(got) : 0);
  writer.resize(std::min(writer.find('\n'), writer.size()));
  for (char& c : writer) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') c = '?';
  }
  return writer;
}

// The holder of a lock that was found to be held so. A lock of another program's, of one byte or of
// all, does not tell the number: then the text is believed, unless that process is gone.
std::string NameOf(const struct flock& held, const FileDescriptor& file) {
  const std::string writer = LastWriter(file);
  const off_t number = held.l_start + held.l_len - kBothBytes;
  if (held.l_len != kToTheEnd && number > 0) {
    std::string holder = "process " + std::to_string(number);
    return writer.starts_with(holder + ' ') ? writer : holder;
  }
  int process = 0;
  const bool hasNumber = std::sscanf(writer.c_str(), "process %d", &process) == 1;
  const bool isGone = hasNumber && kill(process, 0) != 0 && errno == ESRCH;
  return writer.empty() || isGone ? "another process" : writer;
}

std::optional<std::string> HolderOf(const FileDescriptor& file, const std::string& path) {
  struct flock range = ByteRange(F_WRLCK, kDataByte, 1);
  if (RetryInterrupted([&] { return fcntl(file.get(), F_OFD_GETLK, &range); }) != 0) {
    RaiseSystemError(errno, path, "look at the lock");
  }
  if (range.l_type == F_UNLCK) return std::nullopt;
  return NameOf(range, file);
}

}  // namespace

std::chrono::milliseconds LockDeadline() {
  return std::chrono::milliseconds(lockTimeout.load());
}

FileLock::FileLock(const Directory& directory, const char* name, std::chrono::milliseconds deadline)
    : path_(directory.PathOf(name)), name_(name) {
  const Clock::time_point giveUp = Clock::now() + deadline;
  do {
    if (OpenExisting(directory.get())) continue;
    if (errno == EACCES && MakeAccessible(directory)) continue;
    if (errno != ENOENT) RaiseSystemError(errno, path_, "open the lock file for writing");
    Create(directory);
  } while (!Lock(directory.get(), giveUp, deadline));
  Finish(directory);
}

FileLock::FileLock(const std::string& path, std::chrono::milliseconds deadline)
    : path_(path), name_(path) {
  const Clock::time_point giveUp = Clock::now() + deadline;
  for (;;) {
    // Not guarded: stray output would spoil no more than the last writer's name.
    if (!OpenExisting(AT_FDCWD, false)) {
      if (errno == ENOENT || errno == EACCES || errno == EPERM || errno == EROFS) return;
      RaiseSystemError(errno, path_, "open the lock file for writing");
    }
    CheckLockFile();
    const bool wasFree = TakeTurn(giveUp, deadline);
    if (wasFree || IsNamed(AT_FDCWD) || giveUp <= Clock::now()) return;
    Unlock();
  }
}

FileLock::~FileLock() {
  const ErrnoKeeper keeper;
  if (HeldByThisProcess()) Unlock();
}

bool FileLock::OpenExisting(int directory, bool guarded) {
  file_.reset();
  file_.emplace(directory, name_.c_str(), kOpenFlags, 0, guarded);
  return static_cast<bool>(*file_);
}

bool FileLock::BeginChange() {
  if (changes_) return true;
  if (!IsNamed(AT_FDCWD)) return false;
  WriteHolder();
  return true;
}

void FileLock::Create(const Directory& directory) {
  const ForkWatch watch;
  file_.reset();
  file_.emplace(directory.get(), name_.c_str(), kOpenFlags | O_CREAT | O_EXCL, kLockFileMode);
  if (*file_) {
    try {
      directory.Adopt(*file_, kLockFileMode, path_);
    } catch (...) {
      // A lock file of root's would lock the directory's owner out. Waiters notice the removal.
      if (SetLock(file_->get(), F_WRLCK, kDataByte) == 0) {
        unlinkat(directory.get(), name_.c_str(), 0);
        Unlock();
      }
      throw;
    }
    // A forked child may hold an unlisted copy of the descriptor.
    if (watch.SawFork() && !OpenExisting(directory.get()))
      RaiseSystemError(errno, path_, "open the lock file for writing");
  } else if (errno != EEXIST || !OpenExisting(directory.get())) {  // another writer was faster
    RaiseSystemError(errno, path_, "create the lock file");
  }
}

// Completes the mode of a lock file whose writer was killed before chmod(), with a umask that left
// no permission. True if the file is open now.
bool FileLock::MakeAccessible(const Directory& directory) {
  const FileDescriptor file(directory.get(), name_.c_str(), O_PATH | O_NOFOLLOW);
  struct stat status;
  const bool isLeft = file && fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
                      status.st_uid == geteuid() && (status.st_mode & kLockFileMode) == 0;
  const std::string link = "/proc/self/fd/" + std::to_string(file.get());
  if (isLeft && chmod(link.c_str(), kLockFileMode) == 0 && OpenExisting(directory.get())) {
    return true;
  }
  errno = EACCES;
  return false;
}

// Completes the owner of a lock file whose writer was killed before chown().
void FileLock::Finish(const Directory& directory) const {
  const struct stat& parent = directory.status();
  if (geteuid() != 0 || parent.st_uid == 0) return;
  if (StatOf(*file_, path_).st_uid == 0) directory.Adopt(*file_, kLockFileMode, path_);
}

// False if the locked file was removed or replaced meanwhile, so that its lock excludes nobody.
bool FileLock::Lock(int directory, Clock::time_point giveUp, std::chrono::milliseconds deadline) {
  CheckLockFile();
  TakeTurn(giveUp, deadline);
  if (IsNamed(directory)) {
    WriteHolder();
    return true;
  }
  Unlock();
  if (Clock::now() < giveUp) return false;
  throw Error(ErrorKind::kBusy,
              path_ +
                  ": somebody removed or replaced the lock file while it was being locked; "
                  "leave it alone and try again");
}

// True if the lock was free.
bool FileLock::TakeTurn(Clock::time_point giveUp, std::chrono::milliseconds deadline) {
  const off_t number = ProcessNumber();
  const bool wasFree = TryLock(kGateByte, kBothBytes + number);
  if (!wasFree) {
    try {
      Wait(kGateByte, 1, giveUp, deadline);
      Wait(kDataByte, 1 + number, giveUp, deadline);
    } catch (...) {
      Unlock();
      throw;
    }
  }
  SetLock(file_->get(), F_UNLCK, kGateByte);
  return wasFree;
}

// Explicit, because a copy of the descriptor made by vfork() or clone() would keep the lock beyond
// close().
void FileLock::Unlock() const {
  SetLock(file_->get(), F_UNLCK, kGateByte, kToTheEnd);
}

bool FileLock::IsNamed(int directory) const {
  struct stat named;
  return fstatat(directory, name_.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
         named.st_dev == status_.st_dev && named.st_ino == status_.st_ino;
}

void FileLock::CheckLockFile() {
  status_ = StatOf(*file_, path_);
  const bool isOfUs = status_.st_uid == 0 || status_.st_uid == geteuid();
  if (S_ISREG(status_.st_mode) && status_.st_nlink <= 1 && isOfUs) return;
  struct stat parent;
  const std::string directory = path_.substr(0, path_.rfind('/'));
  const bool isOfTheOwner =
      stat(directory.c_str(), &parent) == 0 && status_.st_uid == parent.st_uid;
  // A backup by hard links adds a second name. If only the directory's owner may write there, the
  // name cannot belong to a file of somebody else.
  const bool mayHaveNames = isOfTheOwner && (parent.st_mode & (S_IWGRP | S_IWOTH)) == 0;
  if (S_ISREG(status_.st_mode) && (status_.st_nlink <= 1 || mayHaveNames) &&
      (isOfUs || isOfTheOwner)) {
    return;
  }
  throw Error(ErrorKind::kInsecure,
              path_ +
                  ": not a plain lock file of the host directory's owner (it has another owner or "
                  "type, or a second name where others may write to the directory); stop all "
                  "writers and remove it");
}

bool FileLock::TryLock(off_t byte, off_t count) {
  const int error = SetLock(file_->get(), F_WRLCK, byte, count);
  if (error == 0) return true;
  if (error != EAGAIN && error != EACCES) RaiseSystemError(error, path_, "lock");
  return false;
}

void FileLock::Wait(off_t byte, off_t count, Clock::time_point giveUp,
                    std::chrono::milliseconds deadline) {
  std::chrono::microseconds pause = kFirstPause;
  for (int attempt = 0; !TryLock(byte, count); ++attempt) {
    if (Clock::now() >= giveUp) {
      throw Error(ErrorKind::kBusy, path_ + ": still locked after " +
                                        std::to_string(deadline.count()) + " ms by " +
                                        HolderOf(*file_, path_).value_or("another process") +
                                        "; try again when that process is done");
    }
    if (attempt < kYields) {
      std::this_thread::yield();
      continue;
    }
    std::this_thread::sleep_for(pause);
    pause = std::min(2 * pause, kLongestPause);
  }
}

// Writes the holder's name for the messages of waiters, unless it is there already. Best effort: a
// full disk must not prevent locking.
void FileLock::WriteHolder() {
  changes_ = true;
  char text[kHolderSize] = {};
  char present[kHolderSize] = {};
  const int length =
      std::snprintf(text, sizeof text, "process %ld (%.32s)\n", static_cast<long>(ProcessNumber()),
                    program_invocation_short_name);
  const auto size = static_cast<std::size_t>(length);
  const int fd = file_->get();
  const ssize_t got = RetryInterrupted([&] { return pread(fd, present, sizeof present, 0); });
  if (got == length && std::memcmp(text, present, size) == 0) return;
  if (LargestFile() < kHolderSize) return;
  if (RetryInterrupted([&] { return pwrite(fd, text, size, 0); }) == length) {
    RetryInterrupted([&] { return ftruncate(fd, length); });
  }
}

std::optional<std::string> HolderOf(const std::string& path) {
  const FileDescriptor file(AT_FDCWD, path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  if (!file) {
    if (errno == ENOENT) return std::nullopt;
    RaiseSystemError(errno, path, "open the lock file");
  }
  return HolderOf(file, path);
}

}  // namespace Io

std::uint32_t LockTimeout() {
  return Io::lockTimeout.load();
}

void UseLockTimeout(std::uint32_t milliseconds) {
  Io::lockTimeout.store(milliseconds);
}

}  // namespace HostPlatform
