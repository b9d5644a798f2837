// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "os/directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <vector>

#include "errors/error.h"

namespace HostPlatform::Io {
namespace {

constexpr mode_t kDirectoryMode = 02750;
constexpr mode_t kModeBits = 07777;
constexpr char kGroup[] = "quor";
constexpr std::size_t kUsualGroupEntry = std::size_t{16} << 10;
constexpr std::size_t kLargestGroupEntry = std::size_t{16} << 20;

// getgrnam_r() reports an unknown group by several errno values.
bool MeansNoSuchGroup(int error) {
  return error == 0 || error == ENOENT || error == ESRCH || error == EBADF || error == EPERM;
}

// The group for a new directory; nullopt if the system has no such group or the process may not
// assign it. Only root may assign a group of which it is not a member.
std::optional<gid_t> GroupToGive(const std::string& path) {
  if (geteuid() != 0) return std::nullopt;
  std::vector<char> buffer(kUsualGroupEntry);
  for (;;) {
    struct group entry;
    struct group* found = nullptr;
    const int error = getgrnam_r(kGroup, &entry, buffer.data(), buffer.size(), &found);
    if (found != nullptr) return found->gr_gid;
    if (MeansNoSuchGroup(error)) return std::nullopt;
    if (error == ERANGE && buffer.size() < kLargestGroupEntry) {
      buffer.resize(2 * buffer.size());
    } else if (error != EINTR) {
      RaiseSystemError(error, path, "look up group quor for the host directory");
    }
  }
}

// Ignores EINVAL, which file systems return that cannot flush a directory.
void FlushDirectory(const FileDescriptor& directory, const std::string& path) {
  if (RetryInterrupted([&] { return fsync(directory.get()); }) != 0 && errno != EINVAL) {
    RaiseSystemError(errno, path, "flush the directory");
  }
}

// Makes the new directory's name durable.
void SyncParentOf(const FileDescriptor& directory, const std::string& path) {
  const FileDescriptor parent(directory.get(), "..", O_RDONLY | O_DIRECTORY);
  if (!parent) RaiseSystemError(errno, path + "/..", "open the directory to flush it");
  FlushDirectory(parent, path + "/..");
}

void FinishDirectory(const std::string& path, std::optional<gid_t> group) {
  const FileDescriptor created(AT_FDCWD, path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
  if (!created) RaiseSystemError(errno, path, "open the host directory");
  if (group && fchown(created.get(), static_cast<uid_t>(-1), *group) != 0) {
    RaiseSystemError(errno, path, "give the host directory to group quor");
  }
  if (fchmod(created.get(), kDirectoryMode) != 0) {
    RaiseSystemError(errno, path, "set the mode of the host directory");
  }
  SyncParentOf(created, path);
}

void CreateDirectory(const std::string& path) {
  // Before mkdir(), since it can take long and others cannot enter the unfinished directory.
  const std::optional<gid_t> group = GroupToGive(path);
  if (mkdir(path.c_str(), kUnfinishedMode) != 0) {
    if (errno == EEXIST) return;  // another process was faster
    RaiseSystemError(errno, path, "create the host directory");
  }
  try {
    FinishDirectory(path, group);
  } catch (...) {
    rmdir(path.c_str());  // otherwise it would stay unfinished
    throw;
  }
}

// Returns the path, for use in the initialiser of the descriptor that opens the directory.
const std::string& EnsureExists(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) CreateDirectory(path);
  } else if (IsUnfinished(status)) {
    FinishDirectory(path, GroupToGive(path));
  }
  return path;
}

void RefuseWhenEverybodyMayWrite(const struct stat& status, const std::string& path,
                                 const char* what) {
  if ((status.st_mode & S_IWOTH) == 0) return;
  throw Error(ErrorKind::kInsecure,
              path + ": everybody may write to the " + what +
                  ", so its files could have been planted; run chmod o-w on it or choose another "
                  "directory");
}

[[noreturn]] void RaiseUnopened(int error, const Directory& parent, const char* name) {
  const std::string path = parent.PathOf(name);
  struct stat status;
  if (fstatat(parent.get(), name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode)) {
    throw Error(ErrorKind::kInsecure,
                path +
                    ": it is a symbolic link, which is not followed here; put the directory itself "
                    "in its place");
  }
  RaiseSystemError(error, path, "open the directory");
}

}  // namespace

bool IsUnfinished(const struct stat& status) {
  return S_ISDIR(status.st_mode) && (status.st_uid == geteuid() || geteuid() == 0) &&
         (status.st_mode & kModeBits & ~static_cast<mode_t>(S_ISGID)) == kUnfinishedMode;
}

Directory::Directory(const std::string& path)
    : path_(path), descriptor_(AT_FDCWD, EnsureExists(path_).c_str(), O_RDONLY | O_DIRECTORY) {
  if (!descriptor_) RaiseSystemError(errno, path_, "open the host directory");
  status_ = StatOf(descriptor_, path_);
  if (status_.st_uid != 0 && status_.st_uid != geteuid() && geteuid() != 0) {
    throw Error(ErrorKind::kPermissionDenied,
                path_ + ": the host directory belongs to another user, who alone may write to it");
  }
  RefuseWhenEverybodyMayWrite(status_, path_, "host directory");
}

Directory::Directory(const Directory& parent, const char* name)
    : path_(parent.PathOf(name)),
      descriptor_(parent.get(), name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW) {
  if (!descriptor_) RaiseUnopened(errno, parent, name);
  status_ = StatOf(descriptor_, path_);
  if (status_.st_uid != 0 && status_.st_uid != geteuid() &&
      status_.st_uid != parent.status().st_uid) {
    throw Error(ErrorKind::kInsecure,
                path_ +
                    ": the directory belongs to another user than the one that it is in, so its "
                    "files could have been planted; give it to that directory's owner or move it "
                    "away");
  }
  RefuseWhenEverybodyMayWrite(status_, path_, "directory");
}

void Directory::Adopt(const FileDescriptor& file, mode_t mode, const std::string& path) const {
  const auto isTheirs = [&](const struct stat& own) {
    return own.st_uid == status_.st_uid && own.st_gid == status_.st_gid;
  };
  // Root without CAP_CHOWN fails, which is harmless if the file has this owner and group already.
  if (geteuid() == 0 && fchown(file.get(), status_.st_uid, status_.st_gid) != 0) {
    const int error = errno;
    if (error != EPERM || !isTheirs(StatOf(file, path)))
      RaiseSystemError(error, path, "set the owner");
  }
  if (fchmod(file.get(), mode) != 0) RaiseSystemError(errno, path, "set the mode");
}

void Directory::Sync() const {
  FlushDirectory(descriptor_, path_);
}

// Uses getdents64() directly, because a child forked meanwhile would inherit opendir()'s
// descriptor.
int ForEachName(const Directory& directory, const std::function<void(const char*)>& visit) {
  const FileDescriptor entries(directory.get(), ".", O_RDONLY | O_DIRECTORY);
  if (!entries) return errno;
  alignas(struct dirent64) char buffer[4096];
  for (;;) {
    const ssize_t got =
        RetryInterrupted([&] { return getdents64(entries.get(), buffer, sizeof buffer); });
    if (got <= 0) return got == 0 ? 0 : errno;
    for (ssize_t at = 0; at < got;) {
      const auto* const entry = reinterpret_cast<const struct dirent64*>(buffer + at);
      visit(entry->d_name);
      at += entry->d_reclen;
    }
  }
}

}  // namespace HostPlatform::Io
