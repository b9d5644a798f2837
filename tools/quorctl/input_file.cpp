// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "input_file.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "exit_status.h"
#include "standard_streams.h"

namespace Quorctl {
namespace {

constexpr std::size_t kChunk = std::size_t{1} << 16;

std::string Problem(const std::string& name, int error) {
  return "cannot read " + name + ": " + std::generic_category().message(error);
}

class OpenFile {
 public:
  OpenFile(const std::string& path, int flags)
      : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC | flags)) {}
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() {
    if (descriptor_ != -1) close(descriptor_);
  }

  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

// Returns 0, or the number of the error.
int ReadAll(int descriptor, const std::string& name, std::string* text) {
  char chunk[kChunk];
  struct stat status;
  if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
    text->reserve(std::min(static_cast<std::size_t>(status.st_size), kLargestInput));
  }
  for (;;) {
    const ssize_t count = read(descriptor, chunk, sizeof chunk);
    if (count == 0) return 0;
    if (count < 0 && errno == EAGAIN) {
      WaitUntilReady(descriptor, POLLIN);
      continue;
    }
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    text->append(chunk, static_cast<std::size_t>(count));
    if (text->size() > kLargestInput) {
      throw CommandError(ExitStatus::kBadInput,
                         name + ": larger than 256 MiB, the limit for a catalogue");
    }
  }
}

// Returns 0, or the number of the error. Opened so that nothing waits for the writer of a pipe.
int ReadRegularFile(const std::string& path, std::string* text) {
  const OpenFile file(path, O_NONBLOCK | O_NOFOLLOW);
  struct stat status;
  if (file.descriptor() == -1 || fstat(file.descriptor(), &status) != 0) return errno;
  return S_ISREG(status.st_mode) ? ReadAll(file.descriptor(), path, text) : EINVAL;
}

}  // namespace

std::string InputName(const std::string& path) {
  return path == "-" ? "standard input" : path;
}

std::string ReadInput(const std::string& path) {
  const std::string name = InputName(path);
  std::string text;
  int error = 0;
  if (path == "-") {
    error = ReadAll(STDIN_FILENO, name, &text);
  } else {
    const OpenFile file(path, 0);
    error = file.descriptor() == -1 ? errno : ReadAll(file.descriptor(), name, &text);
  }
  if (error != 0) throw CommandError(ExitStatus::kBadInput, Problem(name, error));
  return text;
}

std::string ReadKeptFile(const std::string& path) {
  std::string text;
  const int error = ReadRegularFile(path, &text);
  if (error == 0) return text;
  throw CommandError(error == EACCES ? ExitStatus::kPermission : ExitStatus::kStore,
                     Problem(path, error));
}

}  // namespace Quorctl
