// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "os/file_replacement.h"

#include <fcntl.h>
#include <linux/limits.h>
#include <sys/random.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "errors/error.h"

namespace HostPlatform::Io {
namespace {

constexpr std::size_t kRandomDigits = 16;
constexpr int kMostAttempts = 100;
constexpr char kAccessList[] = "system.posix_acl_access";

std::string TemporaryPrefix(const char* name) {
  return std::string(".").append(name).append(".new-");
}

// Falls back to the process number if getrandom() fails: the lock excludes other writers, and names
// in use are skipped.
std::string MakeTemporaryName(const char* name, int attempt) {
  std::uint64_t random = 0;
  if (getrandom(&random, sizeof random, GRND_NONBLOCK) != sizeof random) {
    random = static_cast<std::uint64_t>(getpid()) + (static_cast<std::uint64_t>(attempt) << 32);
  }
  char digits[kRandomDigits + 1];
  std::snprintf(digits, sizeof digits, "%016" PRIx64, random);
  return TemporaryPrefix(name) + digits;
}

bool IsTemporaryOf(const char* name, const char* candidate) {
  const std::string prefix = TemporaryPrefix(name);
  return std::strncmp(candidate, prefix.c_str(), prefix.size()) == 0 &&
         std::strlen(candidate) == prefix.size() + kRandomDigits &&
         std::strspn(candidate + prefix.size(), "0123456789abcdef") == kRandomDigits;
}

[[noreturn]] void RaiseAttributeError(const std::string& path) {
  RaiseSystemError(errno, path, "carry over the extended attributes");
}

// True if the file system has no attributes, or if the process may not set this one (a security
// label, for example), which the system's policy sets then.
bool IsNoneOfOurs(int error) {
  return error == ENOTSUP || error == EPERM || error == EACCES;
}

// Removes the access list inherited from the directory. A removal refused by a filter of system
// calls is an error only if there is a list.
void RemoveAccessList(int file, const std::string& path) {
  if (fremovexattr(file, kAccessList) == 0 || errno == ENODATA || errno == ENOTSUP) return;
  const int error = errno;
  if (IsNoneOfOurs(error) && fgetxattr(file, kAccessList, nullptr, 0) < 0) return;
  RaiseSystemError(error, path, "leave out the access list of the directory");
}

// False if the attribute is not the platform's to set.
bool CopyAttribute(int from, int to, const char* attribute, const std::string& path) {
  const auto value = std::make_unique_for_overwrite<char[]>(XATTR_SIZE_MAX);
  const ssize_t size = fgetxattr(from, attribute, value.get(), XATTR_SIZE_MAX);
  if (size < 0) {
    if (errno == ENODATA) return true;  // removed since it was listed
    if (IsNoneOfOurs(errno)) return false;
    RaiseAttributeError(path);
  }
  if (fsetxattr(to, attribute, value.get(), static_cast<std::size_t>(size), 0) == 0) return true;
  if (!IsNoneOfOurs(errno)) RaiseAttributeError(path);
  return false;
}

// False if the access list could not be copied.
bool CopyAttributes(int from, int to, const std::string& path) {
  const ssize_t size = flistxattr(from, nullptr, 0);
  if (size == 0 || (size < 0 && IsNoneOfOurs(errno))) return true;
  std::vector<char> names(XATTR_LIST_MAX + 1, '\0');
  const ssize_t got = size < 0 ? size : flistxattr(from, names.data(), names.size() - 1);
  if (got < 0) RaiseAttributeError(path);
  bool complete = true;
  for (ssize_t at = 0; at < got;) {
    const char* const attribute = names.data() + at;
    if (!CopyAttribute(from, to, attribute, path) && std::strcmp(attribute, kAccessList) == 0) {
      complete = false;
    }
    at += static_cast<ssize_t>(std::strlen(attribute)) + 1;
  }
  return complete;
}

}  // namespace

FileReplacement::FileReplacement(const Directory& directory, const char* name, mode_t mode)
    : directory_(directory), name_(name), mode_(mode), path_(directory.PathOf(name)) {
  SweepStale();  // before the new one, for which it frees space and names
  for (int attempt = 0; !file_; ++attempt) {
    temporaryName_ = MakeTemporaryName(name, attempt);
    file_.emplace(directory.get(), temporaryName_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW,
                  0600);
    if (*file_) break;
    const int error = errno;
    file_.reset();
    if (error != EEXIST || attempt == kMostAttempts) {
      RaiseSystemError(error, directory.PathOf(temporaryName_.c_str()), "create");
    }
  }
}

FileReplacement::~FileReplacement() {
  const ErrnoKeeper keeper;
  // In a forked child the descriptor is closed, and the temporary belongs to the parent.
  if (!committed_ && file_ && *file_) unlinkat(directory_.get(), temporaryName_.c_str(), 0);
}

// Best effort: a remaining temporary only costs space.
void FileReplacement::SweepStale() const {
  ForEachName(directory_, [this](const char* name) {
    if (IsTemporaryOf(name_, name)) unlinkat(directory_.get(), name, 0);
  });
}

void FileReplacement::CarryOverAttributes() {
  const FileDescriptor old(directory_.get(), name_, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  if (!old) {
    if (errno != ENOENT) RaiseSystemError(errno, path_, "open");
    directory_.Adopt(*file_, mode_, path_);
    return;
  }
  const struct stat status = StatOf(old, path_);
  RemoveAccessList(file_->get(), path_);
  // Only root can give a file away. The directory's owner takes over a file that root made, in a
  // group of which it is a member, otherwise in the directory's group.
  const bool isRoot = geteuid() == 0;
  const uid_t owner = isRoot ? status.st_uid : static_cast<uid_t>(-1);
  if (fchown(file_->get(), owner, status.st_gid) != 0 &&
      (errno != EPERM || (isRoot && !HasOwnerOf(status)))) {
    RaiseSystemError(errno, path_, "carry over the owner");
  }
  // With an access list the group bits of the mode are the list's mask. They are set after the
  // list, and omitted if the list could not be copied, since they would give the group permissions
  // then.
  const bool keepsList = CopyAttributes(old.get(), file_->get(), path_);
  const mode_t kept = keepsList ? 0777 : 0707;
  if (fchmod(file_->get(), status.st_mode & kept) != 0) {
    RaiseSystemError(errno, path_, "carry over the mode");
  }
}

// False for root without CAP_CHOWN, who would take the file away from its owner.
bool FileReplacement::HasOwnerOf(const struct stat& status) const {
  const struct stat own = StatOf(*file_, path_);
  return own.st_uid == status.st_uid && own.st_gid == status.st_gid;
}

void FileReplacement::Flush() {
  CarryOverAttributes();
  // Not repeated after a failure: a second fsync() reports success for lost pages.
  if (RetryInterrupted([&] { return fsync(file_->get()); }) != 0) {
    RaiseSystemError(errno, path_, "flush the new content");
  }
  flushed_ = true;
}

void FileReplacement::PutInPlace() {
  if (!flushed_) Flush();
  if (renameat(directory_.get(), temporaryName_.c_str(), directory_.get(), name_) != 0) {
    RaiseSystemError(errno, path_, "put the new content in place");
  }
  committed_ = true;
}

void FileReplacement::Commit() {
  if (!committed_) PutInPlace();
  try {
    directory_.Sync();
  } catch (const Error& error) {
    throw Error(error.kind(), std::string(error.what()) +
                                  "; the new content is in place, but a loss of power could bring "
                                  "the old one back");
  }
}

}  // namespace HostPlatform::Io
