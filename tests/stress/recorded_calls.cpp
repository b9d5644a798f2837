// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "recorded_calls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <cstdarg>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>

#define IN_PLACE_OF_THE_C_LIBRARY extern "C" __attribute__((visibility("default")))

namespace StressTest {
namespace {

using Kind = FileOperation::Kind;

bool recording = false;
std::vector<FileOperation> operations;
std::map<ino_t, int> files;  // the newest file with that inode number
int fileCount = 0;
std::string theRoot;

std::string PathOf(int fd) {
  char target[PATH_MAX] = {};
  const std::string link = "/proc/self/fd/" + std::to_string(fd);
  return readlink(link.c_str(), target, sizeof target - 1) < 0 ? "" : target;
}

// The path below the root; nothing when it is not below it.
std::optional<std::string> BelowRoot(const std::string& path) {
  if (path == theRoot) return "";
  if (!path.starts_with(theRoot + '/')) return std::nullopt;
  return path.substr(theRoot.size() + 1);
}

std::optional<std::string> BelowRoot(int directory, const char* path) {
  if (!recording) return std::nullopt;
  return BelowRoot(*path == '/' ? path : PathOf(directory) + '/' + path);
}

void Add(FileOperation operation) {
  if (recording) operations.push_back(std::move(operation));
}

void NoteCreated(int fd, const std::optional<std::string>& path) {
  struct stat status;
  if (!path || fstat(fd, &status) != 0) return;
  files[status.st_ino] = fileCount;
  Add({Kind::kCreate, fileCount++, *path, "", 0, "", 0});
}

void NoteDirectory(int result, const std::optional<std::string>& path) {
  if (result == 0 && path) Add({Kind::kMakeDirectory, -1, *path, "", 0, "", 0});
}

// Of the file behind the descriptor; -1 when it is none of the recorded ones.
int FileOf(int fd) {
  struct stat status;
  if (fstat(fd, &status) != 0) return -1;
  const auto found = files.find(status.st_ino);
  return S_ISREG(status.st_mode) && found != files.end() ? found->second : -1;
}

void NoteWritten(int fd, off_t offset, const void* bytes, ssize_t count) {
  const int file = recording && count > 0 ? FileOf(fd) : -1;
  if (file < 0) return;
  Add({Kind::kWrite, file, "", "", static_cast<std::size_t>(offset),
       std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(count)), 0});
}

int NoteFlush(int fd) {
  struct stat status;
  if (!recording || fstat(fd, &status) != 0) return 0;
  if (S_ISDIR(status.st_mode)) {
    const auto path = BelowRoot(PathOf(fd));
    if (path) Add({Kind::kFlushDirectory, -1, *path, "", 0, "", 0});
  } else if (const int file = FileOf(fd); file >= 0) {
    Add({Kind::kFlush, file, "", "", 0, "", 0});
  }
  return 0;
}

}  // namespace

void Record(const std::string& root) {
  theRoot = std::filesystem::canonical(root);
  operations.clear();
  files.clear();
  fileCount = 0;
  recording = true;
}

void Mark(int mark) {
  Add({Kind::kMark, -1, "", "", 0, "", mark});
}

std::vector<FileOperation> Recorded() {
  recording = false;
  return std::move(operations);
}

}  // namespace StressTest

using StressTest::recording;
using Kind = StressTest::FileOperation::Kind;

IN_PLACE_OF_THE_C_LIBRARY int openat(int directory, const char* path, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0) {
    va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, mode_t);
    va_end(arguments);
  }
  const int fd = static_cast<int>(syscall(SYS_openat, directory, path, flags, mode));
  if (recording && fd >= 0 && (flags & O_CREAT) != 0) {
    StressTest::NoteCreated(fd, StressTest::BelowRoot(directory, path));
  }
  return fd;
}

IN_PLACE_OF_THE_C_LIBRARY int mkdirat(int directory, const char* path, mode_t mode) noexcept {
  const auto result = static_cast<int>(syscall(SYS_mkdirat, directory, path, mode));
  StressTest::NoteDirectory(result, StressTest::BelowRoot(directory, path));
  return result;
}

IN_PLACE_OF_THE_C_LIBRARY int mkdir(const char* path, mode_t mode) noexcept {
  return mkdirat(AT_FDCWD, path, mode);
}

IN_PLACE_OF_THE_C_LIBRARY ssize_t write(int fd, const void* bytes, size_t count) {
  const off_t offset = recording ? lseek(fd, 0, SEEK_CUR) : 0;
  const ssize_t written = syscall(SYS_write, fd, bytes, count);
  StressTest::NoteWritten(fd, offset, bytes, written);
  return written;
}

IN_PLACE_OF_THE_C_LIBRARY ssize_t pwrite(int fd, const void* bytes, size_t count, off_t offset) {
  const ssize_t written = syscall(SYS_pwrite64, fd, bytes, count, offset);
  StressTest::NoteWritten(fd, offset, bytes, written);
  return written;
}

IN_PLACE_OF_THE_C_LIBRARY int ftruncate(int fd, off_t size) noexcept {
  const int result = static_cast<int>(syscall(SYS_ftruncate, fd, size));
  const int file = recording && result == 0 ? StressTest::FileOf(fd) : -1;
  if (file >= 0) {
    StressTest::Add({Kind::kCut, file, "", "", static_cast<std::size_t>(size), "", 0});
  }
  return result;
}

IN_PLACE_OF_THE_C_LIBRARY int fsync(int fd) {
  return StressTest::NoteFlush(fd);
}

IN_PLACE_OF_THE_C_LIBRARY int fdatasync(int fd) {
  return StressTest::NoteFlush(fd);
}

IN_PLACE_OF_THE_C_LIBRARY int renameat(int fromDirectory, const char* from, int toDirectory,
                                       const char* to) noexcept {
  const auto result =
      static_cast<int>(syscall(SYS_renameat2, fromDirectory, from, toDirectory, to, 0));
  const auto fromPath = StressTest::BelowRoot(fromDirectory, from);
  const auto toPath = StressTest::BelowRoot(toDirectory, to);
  if (result == 0 && fromPath && toPath) {
    StressTest::Add({Kind::kRename, -1, *fromPath, *toPath, 0, "", 0});
  }
  return result;
}

IN_PLACE_OF_THE_C_LIBRARY int unlinkat(int directory, const char* path, int flags) noexcept {
  const auto result = static_cast<int>(syscall(SYS_unlinkat, directory, path, flags));
  const auto removed = StressTest::BelowRoot(directory, path);
  if (result == 0 && removed) StressTest::Add({Kind::kRemove, -1, *removed, "", 0, "", 0});
  return result;
}
