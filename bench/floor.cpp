// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "floor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Bench {
namespace {

void Require(bool done, const std::string& path) {
  if (!done) throw std::system_error(errno, std::generic_category(), path);
}

class Descriptor {
 public:
  Descriptor(const std::string& path, int flags)
      : fd_(open(path.c_str(), flags | O_CLOEXEC, 0600)) {
    Require(fd_ >= 0, path);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { close(fd_); }

  int get() const { return fd_; }

 private:
  int fd_;
};

}  // namespace

std::string ReadFile(const std::string& path) {
  const Descriptor file(path, O_RDONLY);
  struct stat status;
  Require(fstat(file.get(), &status) == 0, path);
  std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
  const ssize_t got = read(file.get(), bytes.data(), bytes.size());
  Require(got == static_cast<ssize_t>(bytes.size()), path);
  return bytes;
}

void ReplaceFileDurably(const std::string& directory, const std::string& name,
                        const std::string& bytes) {
  const std::string target = directory + "/" + name;
  const std::string temporary = target + ".new";
  {
    const Descriptor file(temporary, O_WRONLY | O_CREAT | O_TRUNC);
    const ssize_t written = write(file.get(), bytes.data(), bytes.size());
    Require(written == static_cast<ssize_t>(bytes.size()), temporary);
    Require(fsync(file.get()) == 0, temporary);
  }
  Require(rename(temporary.c_str(), target.c_str()) == 0, target);
  const Descriptor parent(directory, O_RDONLY | O_DIRECTORY);
  Require(fsync(parent.get()) == 0, directory);
}

}  // namespace Bench
