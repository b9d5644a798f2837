#include "io/file_lock.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <thread>

#include "io/error.h"
#include "platform/admin.h"

namespace HostPlatform {
namespace Io {
namespace {

constinit std::atomic<std::uint32_t> lockTimeout{30000};

constexpr mode_t kLockFileMode = 0600;
constexpr off_t kGateByte = 0;
constexpr off_t kDataByte = 1;
constexpr std::size_t kHolderSize = 128;

constexpr auto kFirstPause = std::chrono::microseconds(20);
constexpr auto kLongestPause = std::chrono::microseconds(2000);

// Open-file-description locks on one byte. Returns 0 or an errno value.
int SetLock(int fd, short type, off_t byte) {
  struct flock range = {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = byte;
  range.l_len = 1;
  return RetryInterrupted([&] { return fcntl(fd, F_OFD_SETLK, &range); }) == 0 ? 0 : errno;
}

}  // namespace

std::chrono::milliseconds LockDeadline() {
  return std::chrono::milliseconds(lockTimeout.load());
}

FileLock::FileLock(const Directory& directory, const char* name, std::chrono::milliseconds deadline)
    : path_(directory.PathOf(name)) {
  const Clock::time_point giveUp = Clock::now() + deadline;
  do {
    Open(directory, name);
    CheckLockFile(directory);
    Wait(F_WRLCK, kGateByte, giveUp, deadline);
    Wait(F_WRLCK, kDataByte, giveUp, deadline);
    SetLock(file_->get(), F_UNLCK, kGateByte);
    // A lock on a file that somebody removed or replaced meanwhile excludes nobody.
  } while (!IsStillNamed(directory, name));
  WriteHolder();
}

FileLock::~FileLock() {
  const ErrnoKeeper keeper;
  // Unlocked by name, not just by closing: a copy of the descriptor that a vfork() or a raw clone()
  // made would otherwise keep the lock.
  if (HeldByThisProcess()) SetLock(file_->get(), F_UNLCK, kDataByte);
}

void FileLock::Open(const Directory& directory, const char* name) {
  constexpr int kFlags = O_RDWR | O_NOFOLLOW | O_NONBLOCK;
  file_.reset();
  file_.emplace(directory.get(), name, kFlags);
  if (*file_) return;
  if (errno != ENOENT) RaiseSystemError(errno, path_, "open the lock file for writing");
  file_.emplace(directory.get(), name, kFlags | O_CREAT | O_EXCL, kLockFileMode);
  if (*file_) {
    directory.Adopt(*file_, kLockFileMode, path_);
  } else if (errno == EEXIST) {
    file_.emplace(directory.get(), name, kFlags);  // another writer was faster
  }
  if (!*file_) RaiseSystemError(errno, path_, "create the lock file");
}

void FileLock::CheckLockFile(const Directory& directory) const {
  const struct stat status = StatOf(*file_, path_);
  const struct stat& parent = directory.status();
  const bool ours =
      status.st_uid == geteuid() || status.st_uid == parent.st_uid || status.st_uid == 0;
  if (!S_ISREG(status.st_mode) || status.st_nlink > 1 || !ours) {
    throw Error(ErrorKind::kInsecure,
                path_ +
                    ": not a plain lock file of the host directory's owner (it has another "
                    "owner, another type or a second name); remove it");
  }
}

bool FileLock::IsStillNamed(const Directory& directory, const char* name) const {
  struct stat named;
  const struct stat held = StatOf(*file_, path_);
  return fstatat(directory.get(), name, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
         named.st_dev == held.st_dev && named.st_ino == held.st_ino;
}

bool FileLock::TryLock(short type, off_t byte) {
  const int error = SetLock(file_->get(), type, byte);
  if (error == 0) return true;
  if (error != EAGAIN && error != EACCES) RaiseSystemError(error, path_, "lock");
  return false;
}

void FileLock::Wait(short type, off_t byte, Clock::time_point giveUp,
                    std::chrono::milliseconds deadline) {
  std::chrono::microseconds pause = kFirstPause;
  while (!TryLock(type, byte)) {
    if (Clock::now() >= giveUp) {
      throw Error(ErrorKind::kBusy, path_ + ": still locked after " +
                                        std::to_string(deadline.count()) + " ms by " +
                                        ReadHolder() + "; try again when that writer is done");
    }
    std::this_thread::sleep_for(pause);
    pause = std::min(2 * pause, kLongestPause);
  }
}

// Who holds the lock is told to those who wait for it; the lock itself does not depend on it, so
// that a disk without room for the text is no obstacle.
void FileLock::WriteHolder() {
  char text[kHolderSize] = {};
  char since[32] = {};
  const std::time_t now = std::time(nullptr);
  struct tm utc;
  if (gmtime_r(&now, &utc) != nullptr) std::strftime(since, sizeof since, "%FT%TZ", &utc);
  const int length =
      std::snprintf(text, sizeof text, "process %ld (%.32s) since %s\n",
                    static_cast<long>(getpid()), program_invocation_short_name, since);
  const auto size = static_cast<std::size_t>(length);
  const ssize_t written = RetryInterrupted([&] { return pwrite(file_->get(), text, size, 0); });
  if (written == length) {
    RetryInterrupted([&] { return ftruncate(file_->get(), length); });
  }
}

std::string FileLock::ReadHolder() const {
  char text[kHolderSize] = {};
  const ssize_t got =
      RetryInterrupted([&] { return pread(file_->get(), text, sizeof text - 1, 0); });
  if (got <= 0) return "a process that has not said its name";
  std::string holder(text, static_cast<std::size_t>(got));
  holder.resize(std::min(holder.find('\n'), holder.size()));
  for (char& c : holder) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') c = '?';  // it is shown on terminals
  }
  return holder;
}

}  // namespace Io

std::uint32_t LockTimeout() {
  return Io::lockTimeout.load();
}

void UseLockTimeout(std::uint32_t milliseconds) {
  Io::lockTimeout.store(milliseconds);
}

}  // namespace HostPlatform
