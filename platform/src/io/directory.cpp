#include "io/directory.h"

#include <fcntl.h>
#include <grp.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "io/error.h"

namespace HostPlatform::Io {
namespace {

constexpr mode_t kDirectoryMode = 02750;
constexpr char kGroup[] = "quor";

// Only root can give a directory to a group that it is not in itself.
void GiveToGroup(const FileDescriptor& directory, const std::string& path) {
  std::vector<char> buffer(16384);
  struct group entry;
  struct group* found = nullptr;
  if (geteuid() != 0 || getgrnam_r(kGroup, &entry, buffer.data(), buffer.size(), &found) != 0 ||
      found == nullptr) {
    return;
  }
  if (fchown(directory.get(), static_cast<uid_t>(-1), found->gr_gid) != 0) {
    RaiseSystemError(errno, path, "give the host directory to group quor");
  }
}

// So that the new directory is still there after a loss of power.
void SyncParentOf(const FileDescriptor& directory, const std::string& path) {
  const FileDescriptor parent(directory.get(), "..", O_RDONLY | O_DIRECTORY);
  if (!parent || RetryInterrupted([&] { return fsync(parent.get()); }) != 0) {
    RaiseSystemError(errno, path + "/..", "flush the directory");
  }
}

void FinishDirectory(const std::string& path) {
  const FileDescriptor created(AT_FDCWD, path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
  if (!created) RaiseSystemError(errno, path, "open the host directory");
  GiveToGroup(created, path);
  if (fchmod(created.get(), kDirectoryMode) != 0) {
    RaiseSystemError(errno, path, "set the mode of the host directory");
  }
  SyncParentOf(created, path);
}

void CreateDirectory(const std::string& path) {
  if (mkdir(path.c_str(), 0700) != 0) {
    if (errno == EEXIST) return;  // another process was faster
    RaiseSystemError(errno, path, "create the host directory");
  }
  try {
    FinishDirectory(path);
  } catch (...) {
    rmdir(path.c_str());  // nobody would ever finish it
    throw;
  }
}

// Returns the path, so that the directory is there before the descriptor's initialiser opens it.
const std::string& EnsureExists(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0 && errno == ENOENT) CreateDirectory(path);
  return path;
}

}  // namespace

Directory::Directory(const std::string& path)
    : path_(path), descriptor_(AT_FDCWD, EnsureExists(path_).c_str(), O_RDONLY | O_DIRECTORY) {
  if (!descriptor_) RaiseSystemError(errno, path_, "open the host directory");
  status_ = StatOf(descriptor_, path_);
  if (status_.st_uid != 0 && status_.st_uid != geteuid() && geteuid() != 0) {
    throw Error(ErrorKind::kPermissionDenied,
                path_ + ": the host directory belongs to another user, who alone may write to it");
  }
  if ((status_.st_mode & S_IWOTH) != 0) {
    throw Error(ErrorKind::kInsecure,
                path_ +
                    ": everybody may write to the host directory, so its files could have been "
                    "planted; run chmod o-w on it or choose another directory");
  }
}

void Directory::Adopt(const FileDescriptor& file, mode_t mode, const std::string& path) const {
  if (geteuid() == 0 && fchown(file.get(), status_.st_uid, status_.st_gid) != 0) {
    RaiseSystemError(errno, path, "set the owner");
  }
  if (fchmod(file.get(), mode) != 0) RaiseSystemError(errno, path, "set the mode");
}

void Directory::Sync() const {
  if (RetryInterrupted([&] { return fsync(get()); }) != 0) {
    RaiseSystemError(errno, path_, "flush the directory");
  }
}

}  // namespace HostPlatform::Io
