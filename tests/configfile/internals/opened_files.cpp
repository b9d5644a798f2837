// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "internals/opened_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>

#define IN_PLACE_OF_THE_C_LIBRARY extern "C" __attribute__((visibility("default")))

namespace ConfigFileTest {
namespace {

thread_local Opened* watched = nullptr;
std::atomic<bool> wholeSeconds{false};

int WithTimes(int result, struct stat* status) {
  if (result == 0 && wholeSeconds)
    status->st_atim.tv_nsec = status->st_mtim.tv_nsec = status->st_ctim.tv_nsec = 0;
  return result;
}

}  // namespace

WholeSeconds::WholeSeconds() {
  wholeSeconds = true;
}
WholeSeconds::~WholeSeconds() {
  wholeSeconds = false;
}

Opened OpenedBy(const std::function<void()>& call) {
  Opened opened;
  watched = &opened;
  call();
  watched = nullptr;
  return opened;
}

}  // namespace ConfigFileTest

IN_PLACE_OF_THE_C_LIBRARY int openat(int directory, const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  if (ConfigFileTest::watched != nullptr) {
    const std::string text = path;
    ConfigFileTest::watched->names.push_back(text.substr(text.rfind('/') + 1));
  }
  return static_cast<int>(syscall(SYS_openat, directory, path, flags, mode));
}

IN_PLACE_OF_THE_C_LIBRARY ssize_t pread(int fd, void* buffer, size_t size, off_t offset) {
  const ssize_t got = syscall(SYS_pread64, fd, buffer, size, offset);
  if (ConfigFileTest::watched != nullptr && got > 0) ConfigFileTest::watched->bytesRead += got;
  return got;
}

IN_PLACE_OF_THE_C_LIBRARY int stat(const char* path, struct stat* status) {
  return ConfigFileTest::WithTimes(fstatat(AT_FDCWD, path, status, 0), status);
}

IN_PLACE_OF_THE_C_LIBRARY int fstat(int fd, struct stat* status) {
  return ConfigFileTest::WithTimes(fstatat(fd, "", status, AT_EMPTY_PATH), status);
}
