// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The host directory, or one in it, held open by a writer.
#ifndef PLATFORM_SRC_OS_DIRECTORY_H_
#define PLATFORM_SRC_OS_DIRECTORY_H_

#include <sys/stat.h>

#include <functional>
#include <string>

#include "os/file_descriptor.h"

namespace HostPlatform::Io {

// Marks a directory between mkdir() and its final owner and mode. If a writer is killed in between,
// the next writer recognises the mode and finishes the directory.
inline constexpr mode_t kUnfinishedMode = 01700;
// True if `status` has that mode and this process may finish the directory.
bool IsUnfinished(const struct stat& status);

// A writer uses this descriptor for all its operations, so that a path component replaced meanwhile
// cannot redirect it.
class Directory {
 public:
  // Opens the directory; creates it when it is missing (2750, group `quor` where the process may
  // give it that), but not its parents. Raises Error: kInsecure when it belongs to a user who is
  // neither root nor this one, or when everybody may write to it; others as the system says.
  explicit Directory(const std::string& path);
  // Opens a directory in another one, and follows no link. Raises Error: kInsecure when it belongs
  // to a user who is neither root nor this one nor the owner of `parent`, when everybody may write
  // to it, or when it is a link; others as the system says.
  Directory(const Directory& parent, const char* name);

  int get() const { return descriptor_.get(); }
  const std::string& path() const { return path_; }
  const struct stat& status() const { return status_; }  // at the time of opening
  std::string PathOf(const char* name) const { return path_ + '/' + name; }

  // Sets mode (regardless of the umask), owner and group of a new file in the directory. Owner and
  // group are the directory's if this process may set them, so that a tool run by root does not
  // lock the owner out.
  void Adopt(const FileDescriptor& file, mode_t mode, const std::string& path) const;

  // Makes the directory's entries durable. Raises Error.
  void Sync() const;

 private:
  std::string path_;
  FileDescriptor descriptor_;
  struct stat status_;
};

// Calls `visit` for each name in the directory, including "." and "..". Returns 0, or an errno
// value if the listing is incomplete.
int ForEachName(const Directory& directory, const std::function<void(const char*)>& visit);

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_OS_DIRECTORY_H_
