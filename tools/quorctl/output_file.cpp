// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace Quorctl {
namespace {

constexpr mode_t kModeOfNew = 0666;  // less what the umask takes away
constexpr mode_t kAllModeBits = 07777;

[[noreturn]] void RaiseErrno(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

void WriteAndClose(int descriptor, const std::string& bytes, const std::string& path) {
  std::size_t written = 0;
  int error = 0;
  while (written < bytes.size() && error == 0) {
    const ssize_t count = write(descriptor, bytes.data() + written, bytes.size() - written);
    if (count >= 0) {
      written += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      error = errno;
    }
  }
  // Pipes and some devices cannot be flushed.
  if (error == 0 && fsync(descriptor) != 0 && errno != EINVAL && errno != EROFS) error = errno;
  if (close(descriptor) != 0 && error == 0) error = errno;
  errno = error;
  if (error != 0) RaiseErrno("cannot write all of " + path);
}

void WriteInPlace(const std::string& path, const std::string& bytes) {
  const int descriptor =
      open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOCTTY, kModeOfNew);
  if (descriptor == -1) RaiseErrno("cannot write " + path);
  WriteAndClose(descriptor, bytes, path);
}

mode_t ModeOfNewFile() {
  const mode_t mask = umask(0);
  umask(mask);
  return kModeOfNew & ~mask;
}

// A temporary file beside the target, which is renamed to it or removed.
class NewFile {
 public:
  explicit NewFile(const std::string& target)
      : path_(std::filesystem::path(target).replace_filename(".quorctl-XXXXXX")),
        descriptor_(mkostemp(path_.data(), O_CLOEXEC)),
        exists_(descriptor_ != -1) {}
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile() {
    if (exists_) unlink(path_.c_str());
    if (descriptor_ != -1) close(descriptor_);
  }

  // Returns whether it could be made, and given the owner and mode of the old file.
  bool IsLike(const struct stat* old) const {
    if (!exists_) return false;
    if (old == nullptr) return fchmod(descriptor_, ModeOfNewFile()) == 0;
    return fchown(descriptor_, old->st_uid, old->st_gid) == 0 &&
           fchmod(descriptor_, old->st_mode & kAllModeBits) == 0;
  }

  void TakePlace(const std::string& target, const std::string& bytes) {
    const int descriptor = descriptor_;
    descriptor_ = -1;
    WriteAndClose(descriptor, bytes, target);
    if (rename(path_.c_str(), target.c_str()) != 0) RaiseErrno("cannot replace " + target);
    exists_ = false;
  }

 private:
  std::string path_;
  int descriptor_;
  bool exists_;
};

}  // namespace

void ReplaceFile(const std::string& path, const std::string& bytes) {
  struct stat old;
  struct stat link;
  const bool isThere = stat(path.c_str(), &old) == 0;
  const bool isNew = !isThere && errno == ENOENT && lstat(path.c_str(), &link) != 0;
  const bool isReplaceable = isThere && S_ISREG(old.st_mode) && old.st_nlink == 1;
  if (!isNew && !isReplaceable) return WriteInPlace(path, bytes);
  if (isThere && faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) {
    RaiseErrno("cannot write " + path);
  }
  std::error_code error;
  const std::string target = isThere ? std::filesystem::canonical(path, error).string() : path;
  if (error) throw std::system_error(error, "cannot write " + path);
  NewFile replacement(target);
  if (!replacement.IsLike(isThere ? &old : nullptr)) return WriteInPlace(path, bytes);
  replacement.TakePlace(target, bytes);
}

}  // namespace Quorctl
