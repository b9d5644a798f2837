// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "state_directory.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

#include "catalogue/text/terminal_text.h"

namespace QuorAgent {
namespace {

constexpr char kWanted[] = "wanted";
constexpr char kApplied[] = "applied";
constexpr mode_t kDirectoryMode = 0700;
constexpr mode_t kFileMode = 0600;
constexpr int kLockAttempts = 25;
constexpr auto kLockPause = std::chrono::milliseconds(20);

class OpenFile {
 public:
  explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() {
    if (descriptor_ != -1) close(descriptor_);
  }

  int get() const { return descriptor_; }

 private:
  int descriptor_;
};

// A child of an agent that was just killed may hold the lock for a moment.
bool Lock(int directory) {
  for (int attempt = 0; attempt < kLockAttempts; ++attempt) {
    if (flock(directory, LOCK_EX | LOCK_NB) == 0) return true;
    if (errno != EWOULDBLOCK) return false;
    std::this_thread::sleep_for(kLockPause);
  }
  errno = EWOULDBLOCK;
  return false;
}

bool WriteAll(int file, const std::string& bytes) {
  std::size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t count = write(file, bytes.data() + written, bytes.size() - written);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    written += static_cast<std::size_t>(count);
  }
  return true;
}

}  // namespace

StateDirectory::StateDirectory(const std::string& path, Use use) : path_(path) {
  const bool exclusive = use == Use::kExclusive;
  if (exclusive && mkdir(path.c_str(), kDirectoryMode) != 0 && errno != EEXIST)
    RaiseErrno("cannot be made; its parent is to be there and to be writable", "");
  directory_ = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory_ == -1) {
    if (!exclusive && errno == ENOENT) return;
    RaiseErrno("cannot be opened", "");
  }
  if (!exclusive || Lock(directory_)) return;
  const int error = errno;
  close(directory_);
  errno = error;
  if (error != EWOULDBLOCK) RaiseErrno("cannot be locked", "");
  throw DirectoryTaken(Quorctl::EscapeForTerminal(path) +
                       ": another quor-agent works with this state directory; stop it first "
                       "(systemctl stop quor-agent), or give this one its own --state");
}

StateDirectory::~StateDirectory() {
  if (directory_ != -1) close(directory_);
}

std::optional<Wanted> StateDirectory::ReadWanted() const {
  const std::optional<std::string> text = Read(kWanted);
  if (!text) return std::nullopt;
  return ParseWanted(*text, path_ + '/' + kWanted);
}

std::optional<Applied> StateDirectory::ReadApplied() const {
  const std::optional<std::string> text = Read(kApplied);
  if (!text) return std::nullopt;
  return ParseApplied(*text, path_ + '/' + kApplied);
}

void StateDirectory::WriteWanted(const Wanted& wanted) {
  Replace(kWanted, AsText(wanted));
}

void StateDirectory::WriteApplied(const Applied& applied) {
  Replace(kApplied, AsText(applied));
}

std::optional<std::string> StateDirectory::Read(const char* name) const {
  if (directory_ == -1) return std::nullopt;
  const OpenFile file(openat(directory_, name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (file.get() == -1 && errno == ENOENT) return std::nullopt;
  struct stat status = {};
  if (file.get() == -1 || fstat(file.get(), &status) != 0) RaiseErrno("cannot be read", name);
  std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
  std::size_t got = 0;
  while (got < bytes.size()) {
    const ssize_t count = read(file.get(), bytes.data() + got, bytes.size() - got);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) RaiseErrno("cannot be read", name);
    if (count == 0) break;
    got += static_cast<std::size_t>(count);
  }
  bytes.resize(got);
  return bytes;
}

// The temporary has a fixed name, since the lock admits one writer: a file left by a killed agent
// is overwritten.
void StateDirectory::Replace(const char* name, const std::string& bytes) {
  const std::string next = std::string(".") + name + ".new";
  bool written = false;
  {
    const OpenFile file(openat(directory_, next.c_str(),
                               O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, kFileMode));
    written = file.get() != -1 && WriteAll(file.get(), bytes) && fsync(file.get()) == 0;
  }
  if (!written || renameat(directory_, next.c_str(), directory_, name) != 0) {
    const int error = errno;
    unlinkat(directory_, next.c_str(), 0);  // it may be what fills the disk
    errno = error;
    RaiseErrno("cannot be written", name);
  }
  if (fsync(directory_) != 0) RaiseErrno("cannot be flushed", name);
}

void StateDirectory::RaiseErrno(const char* what, const std::string& name) const {
  const std::string path = name.empty() ? path_ : path_ + '/' + name;
  throw std::system_error(errno, std::generic_category(),
                          Quorctl::EscapeForTerminal(path) + ' ' + what);
}

}  // namespace QuorAgent
