// Files that a tool keeps beside the host's own.
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <memory>

#include "io/directory.h"
#include "io/error.h"
#include "io/file_lock.h"
#include "io/file_replacement.h"
#include "io/host_paths.h"
#include "platform/admin.h"

namespace HostPlatform {
namespace {

constexpr char kLockName[] = ".lock";
constexpr char kTemporaryMark[] = ".new-";  // as FileReplacement names them
constexpr mode_t kFolderMode = 02750;
constexpr mode_t kFileMode = 0640;

void EnsureFolder(const Io::Directory& host, const std::string& folder) {
  const std::string path = host.PathOf(folder.c_str());
  if (mkdirat(host.get(), folder.c_str(), 0700) != 0) {
    if (errno == EEXIST) return;
    Io::RaiseSystemError(errno, path, "create the directory");
  }
  try {
    const Io::FileDescriptor created(host.get(), folder.c_str(),
                                     O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    if (!created) Io::RaiseSystemError(errno, path, "open the directory");
    host.Adopt(created, kFolderMode, path);
    host.Sync();
  } catch (...) {
    unlinkat(host.get(), folder.c_str(), AT_REMOVEDIR);  // nobody would ever finish it
    throw;
  }
}

// Takes the highest number of the directory, and removes the temporaries that killed writers left:
// the lock is held, so nobody is writing them. Not by std::filesystem, whose directory iterator
// ends the process when memory is short.
std::uint64_t HighestNumber(const Io::Directory& directory) {
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(directory.path().c_str()), &closedir);
  if (!entries) Io::RaiseSystemError(errno, directory.path(), "list the directory");
  std::uint64_t highest = 0;
  errno = 0;
  while (const struct dirent* entry = readdir(entries.get())) {
    const std::string_view name = entry->d_name;
    std::uint64_t number = 0;
    std::from_chars(name.data(), name.data() + name.size(), number);
    highest = std::max(highest, number);
    const bool isTemporary =
        name.front() == '.' && name.find(kTemporaryMark) != std::string_view::npos;
    if (isTemporary) unlinkat(directory.get(), entry->d_name, 0);
    errno = 0;  // readdir() leaves it so at the end, and sets it when it fails
  }
  // With a part of the names only, a number would be given twice.
  if (errno != 0) Io::RaiseSystemError(errno, directory.path(), "list the directory");
  return highest;
}

}  // namespace

std::uint64_t AddNumberedFile(const std::string& folder, const std::string& suffix,
                              std::string_view content) {
  const Io::ErrnoKeeper keeper;
  try {
    const Io::Directory host(Io::HostDirectoryPath());
    EnsureFolder(host, folder);
    const Io::Directory directory(host.PathOf(folder.c_str()));
    const Io::FileLock lock(directory, kLockName, Io::LockDeadline());
    const std::uint64_t number = HighestNumber(directory) + 1;
    const std::string name = std::to_string(number) + suffix;
    Io::FileReplacement file(directory, name.c_str(), kFileMode);
    Io::WriteAll(file.file(), content, file.path());
    file.Commit();
    return number;
  } catch (const Io::Error& error) {
    Io::RaiseToTools(error);
  }
}

}  // namespace HostPlatform
