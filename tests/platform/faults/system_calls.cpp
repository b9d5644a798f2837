// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "faults/system_calls.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstring>
#include <utility>

#define IN_PLACE_OF_THE_C_LIBRARY extern "C" __attribute__((visibility("default")))

namespace PlatformTest {
namespace {

bool watching = false;
std::size_t writeLimit = 0;
CallHook theHook;
std::function<void()> afterOpens;
std::vector<SystemCall> theLog;

std::string LastComponent(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

std::string PathOf(int fd) {
  char target[PATH_MAX] = {};
  const std::string link = "/proc/self/fd/" + std::to_string(fd);
  return readlink(link.c_str(), target, sizeof target - 1) < 0 ? "" : LastComponent(target);
}

// Logs the call; true when it is to fail, with errno set.
bool Fails(const char* name, const std::string& path) {
  if (!watching) return false;
  watching = false;  // what is called in here is the test's own
  theLog.push_back({name, path});
  const int error = theHook ? theHook(theLog.back()) : 0;
  watching = true;
  if (error != 0) errno = error;
  return error != 0;
}

bool Fails(const char* name, int fd) {
  return watching && Fails(name, PathOf(fd));
}

void NoteOpened() {
  if (!watching || !afterOpens) return;
  watching = false;
  afterOpens();
  watching = true;
}

}  // namespace

void Watch(CallHook hook) {
  theHook = std::move(hook);
  theLog.clear();
  watching = true;
}

std::vector<SystemCall> Stop() {
  watching = false;
  writeLimit = 0;
  afterOpens = nullptr;
  return std::move(theLog);
}

void CallAfterOpens(std::function<void()> call) {
  afterOpens = std::move(call);
}

void LimitWrites(std::size_t most) {
  writeLimit = most;
}

}  // namespace PlatformTest

using PlatformTest::Fails;

IN_PLACE_OF_THE_C_LIBRARY int open(const char* path, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0) {
    va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, mode_t);
    va_end(arguments);
  }
  if (PlatformTest::watching && Fails("open", PlatformTest::LastComponent(path))) return -1;
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

IN_PLACE_OF_THE_C_LIBRARY int openat(int directory, const char* path, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0) {
    va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, mode_t);
    va_end(arguments);
  }
  if (PlatformTest::watching && Fails("open", PlatformTest::LastComponent(path))) return -1;
  const int fd = static_cast<int>(syscall(SYS_openat, directory, path, flags, mode));
  if (fd >= 0) PlatformTest::NoteOpened();
  return fd;
}

// Of the switches only: a lock or a snapshot that cannot be looked at is one that is not there.
IN_PLACE_OF_THE_C_LIBRARY int fstatat(int directory, const char* path, struct stat* status,
                                      int flags) noexcept {
  if (PlatformTest::watching && std::strcmp(path, "features") == 0 && Fails("stat", path)) {
    return -1;
  }
  return static_cast<int>(syscall(SYS_newfstatat, directory, path, status, flags));
}

IN_PLACE_OF_THE_C_LIBRARY ssize_t getdents64(int fd, void* buffer, size_t size) noexcept {
  return Fails("getdents64", fd) ? -1 : syscall(SYS_getdents64, fd, buffer, size);
}

// Locks only.
IN_PLACE_OF_THE_C_LIBRARY int fcntl(int fd, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  if (command == F_OFD_SETLK && Fails("lock", fd)) return -1;
  return static_cast<int>(syscall(SYS_fcntl, fd, command, argument));
}

IN_PLACE_OF_THE_C_LIBRARY ssize_t write(int fd, const void* bytes, size_t count) {
  if (Fails("write", fd)) return -1;
  if (PlatformTest::watching && PlatformTest::writeLimit != 0) {
    count = std::min(count, PlatformTest::writeLimit);
  }
  return syscall(SYS_write, fd, bytes, count);
}

IN_PLACE_OF_THE_C_LIBRARY int fsync(int fd) {
  return Fails("fsync", fd) ? -1 : static_cast<int>(syscall(SYS_fsync, fd));
}

IN_PLACE_OF_THE_C_LIBRARY int fdatasync(int fd) {
  return Fails("fsync", fd) ? -1 : static_cast<int>(syscall(SYS_fdatasync, fd));
}

IN_PLACE_OF_THE_C_LIBRARY int fchmod(int fd, mode_t mode) noexcept {
  return Fails("fchmod", fd) ? -1 : static_cast<int>(syscall(SYS_fchmod, fd, mode));
}

IN_PLACE_OF_THE_C_LIBRARY int fchown(int fd, uid_t owner, gid_t group) noexcept {
  return Fails("fchown", fd) ? -1 : static_cast<int>(syscall(SYS_fchown, fd, owner, group));
}

IN_PLACE_OF_THE_C_LIBRARY ssize_t flistxattr(int fd, char* list, std::size_t size) noexcept {
  return Fails("flistxattr", fd) ? -1 : syscall(SYS_flistxattr, fd, list, size);
}

IN_PLACE_OF_THE_C_LIBRARY ssize_t fgetxattr(int fd, const char* name, void* value,
                                            std::size_t size) noexcept {
  return Fails("fgetxattr", fd) ? -1 : syscall(SYS_fgetxattr, fd, name, value, size);
}

IN_PLACE_OF_THE_C_LIBRARY int fsetxattr(int fd, const char* name, const void* value,
                                        std::size_t size, int flags) noexcept {
  if (Fails("fsetxattr", fd)) return -1;
  return static_cast<int>(syscall(SYS_fsetxattr, fd, name, value, size, flags));
}

IN_PLACE_OF_THE_C_LIBRARY int fremovexattr(int fd, const char* name) noexcept {
  return Fails("fremovexattr", fd) ? -1 : static_cast<int>(syscall(SYS_fremovexattr, fd, name));
}

IN_PLACE_OF_THE_C_LIBRARY ssize_t getrandom(void* bytes, std::size_t size, unsigned flags) {
  if (PlatformTest::watching && Fails("getrandom", std::string())) return -1;
  return syscall(SYS_getrandom, bytes, size, flags);
}

IN_PLACE_OF_THE_C_LIBRARY int renameat(int fromDirectory, const char* from, int toDirectory,
                                       const char* to) noexcept {
  if (PlatformTest::watching && Fails("rename", std::string(to))) return -1;
  return static_cast<int>(syscall(SYS_renameat2, fromDirectory, from, toDirectory, to, 0));
}

IN_PLACE_OF_THE_C_LIBRARY int fstat(int fd, struct stat* status) noexcept {
  if (Fails("fstat", fd)) return -1;
  return fstatat(fd, "", status, AT_EMPTY_PATH);
}
