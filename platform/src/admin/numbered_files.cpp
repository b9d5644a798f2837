// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Numbered files of a tool in the host directory.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <limits>

#include "errors/error.h"
#include "os/call_scope.h"
#include "os/directory.h"
#include "os/file_lock.h"
#include "os/file_replacement.h"
#include "os/host_paths.h"
#include "platform/admin.h"

namespace HostPlatform {
namespace {

constexpr char kLockName[] = ".lock";
constexpr std::string_view kTemporaryMark = ".new-";
constexpr std::size_t kRandomDigits = 16;
constexpr mode_t kFolderMode = 02750;
constexpr mode_t kFileMode = 0640;

void EnsureFolder(const Io::Directory& host, const std::string& folder) {
  const std::string path = host.PathOf(folder.c_str());
  if (mkdirat(host.get(), folder.c_str(), Io::kUnfinishedMode) != 0) {
    if (errno != EEXIST) Io::RaiseSystemError(errno, path, "create the directory");
    struct stat status;
    if (fstatat(host.get(), folder.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return;
    if (!Io::IsUnfinished(status)) return;
  }
  try {
    const Io::FileDescriptor created(host.get(), folder.c_str(),
                                     O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    if (!created) Io::RaiseSystemError(errno, path, "open the directory");
    host.Adopt(created, kFolderMode, path);
    host.Sync();
  } catch (...) {
    unlinkat(host.get(), folder.c_str(), AT_REMOVEDIR);  // otherwise it would stay unfinished
    throw;
  }
}

std::uint64_t NumberOf(std::string_view name) {
  std::uint64_t number = 0;
  std::from_chars(name.data(), name.data() + name.size(), number);
  return number;
}

// True for a numbered file's temporary: ".NUMBER….new-" and 16 digits, by FileReplacement.
bool IsTemporary(std::string_view name) {
  const std::size_t end =
      name.size() - std::min(name.size(), kTemporaryMark.size() + kRandomDigits);
  return name.size() > 1 && name[0] == '.' && name[1] >= '0' && name[1] <= '9' && end > 1 &&
         name.substr(end, kTemporaryMark.size()) == kTemporaryMark &&
         name.find_first_not_of("0123456789abcdef", end + kTemporaryMark.size()) ==
             std::string_view::npos;
}

// Returns the highest number in the directory plus one. Removes temporaries of killed writers,
// which nobody else writes while the lock is held.
std::uint64_t NextNumber(const Io::Directory& directory) {
  std::uint64_t highest = 0;
  std::string last;
  const int error = Io::ForEachName(directory, [&](const char* name) {
    if (NumberOf(name) > highest) {
      highest = NumberOf(name);
      last = name;
    }
    if (IsTemporary(name)) unlinkat(directory.get(), name, 0);
  });
  // An incomplete listing could lead to a repeated number.
  if (error != 0) Io::RaiseSystemError(error, directory.path(), "list the directory");
  if (highest == std::numeric_limits<std::uint64_t>::max()) {
    throw Io::Error(Io::ErrorKind::kOther,
                    directory.PathOf(last.c_str()) +
                        ": it has the highest number that there is, so none is left for another "
                        "file; remove it or give it a lower number");
  }
  return highest + 1;
}

}  // namespace

std::uint64_t AddNumberedFile(const std::string& folder, const std::string& suffix,
                              std::string_view content) {
  return AddNumberedFile(folder, suffix, [content](const AppendPart& append) { append(content); });
}

std::uint64_t AddNumberedFile(const std::string& folder, const std::string& suffix,
                              const std::function<void(const AppendPart&)>& write) {
  const Io::CallScope scope;
  try {
    const Io::Directory host(Io::HostDirectoryPath());
    EnsureFolder(host, folder);
    const Io::Directory directory(host, folder.c_str());
    const Io::FileLock lock(directory, kLockName, Io::LockDeadline());
    const std::uint64_t number = NextNumber(directory);
    const std::string name = std::to_string(number) + suffix;
    Io::FileReplacement file(directory, name.c_str(), kFileMode);
    write([&file](std::string_view part) { Io::WriteAll(file.file(), part, file.path()); });
    file.Commit();
    return number;
  } catch (const Io::Error& error) {
    Io::RaiseToTools(error);
  }
}

}  // namespace HostPlatform
