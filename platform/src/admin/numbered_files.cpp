// Files that a tool keeps beside the host's own.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>

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
  const Io::FileDescriptor created(host.get(), folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
  if (!created) Io::RaiseSystemError(errno, path, "open the directory");
  host.Adopt(created, kFolderMode, path);
  host.Sync();
}

// Takes the highest number of the directory, and removes the temporaries that killed writers left:
// the lock is held, so nobody is writing them.
std::uint64_t HighestNumber(const Io::Directory& directory) {
  std::uint64_t highest = 0;
  for (const auto& entry : std::filesystem::directory_iterator(directory.path())) {
    const std::string name = entry.path().filename();
    std::uint64_t number = 0;
    std::from_chars(name.data(), name.data() + name.size(), number);
    highest = std::max(highest, number);
    const bool isTemporary = name.front() == '.' && name.find(kTemporaryMark) != std::string::npos;
    if (isTemporary) unlinkat(directory.get(), name.c_str(), 0);
  }
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
