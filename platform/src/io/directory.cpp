// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "io/directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <vector>

#include "io/error.h"

namespace HostPlatform::Io {
namespace {

constexpr mode_t kDirectoryMode = 02750;
constexpr mode_t kModeBits = 07777;
constexpr char kGroup[] = "quor";
constexpr std::size_t kUsualGroupEntry = std::size_t{16} << 10;
constexpr std::size_t kLargestGroupEntry = std::size_t{16} << 20;

// getgrnam_r() has several ways to say so.
bool MeansNoSuchGroup(int error) {
  return error == 0 || error == ENOENT || error == ESRCH || error == EBADF || error == EPERM;
}

// The group that a new directory is given to. Nothing when the system has no such group, or when
// the process may not: only root can give a directory to a group that it is not in itself.
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

// Some file systems cannot flush a directory and say EINVAL: nothing more can be done there.
void FlushDirectory(const FileDescriptor& directory, const std::string& path) {
  if (RetryInterrupted([&] { return fsync(directory.get()); }) != 0 && errno != EINVAL) {
    RaiseSystemError(errno, path, "flush the directory");
  }
}

// So that the new directory is still there after a loss of power.
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
  // Before: it can take long, and others cannot enter the new directory until it is finished.
  const std::optional<gid_t> group = GroupToGive(path);
  if (mkdir(path.c_str(), kUnfinishedMode) != 0) {
    if (errno == EEXIST) return;  // another process was faster
    RaiseSystemError(errno, path, "create the host directory");
  }
  try {
    FinishDirectory(path, group);
  } catch (...) {
    rmdir(path.c_str());  // nobody would ever finish it
    throw;
  }
}

// Returns the path, so that the directory is there before the descriptor's initialiser opens it.
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
  // Without CAP_CHOWN root may not, and need not where the file has them already.
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

// The directory is opened and read by hand: opendir() has a descriptor of its own, which a child
// that is forked meanwhile would keep.
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
