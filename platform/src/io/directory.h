// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The host directory, or one in it, held open by a writer.
#ifndef PLATFORM_SRC_IO_DIRECTORY_H_
#define PLATFORM_SRC_IO_DIRECTORY_H_

#include <sys/stat.h>

#include <functional>
#include <string>

#include "io/file_descriptor.h"

namespace HostPlatform::Io {

// The mode of a directory between mkdir() and the end of its making, which nobody else would
// choose: one that a killed writer left in between is told by it, and finished by the next.
inline constexpr mode_t kUnfinishedMode = 01700;
// Whether it has that mode, and may be finished by this process.
bool IsUnfinished(const struct stat& status);

// Everything that a writer does goes through the one descriptor, so that a path component that is
// replaced meanwhile leads it nowhere else.
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
  const struct stat& status() const { return status_; }  // as it was when it was opened
  std::string PathOf(const char* name) const { return path_ + '/' + name; }

  // Gives a file just created here the directory's owner and group where this process may (root
  // running a tool must not lock the owner out), and the permission bits whatever the umask.
  void Adopt(const FileDescriptor& file, mode_t mode, const std::string& path) const;

  // Makes the directory's entries durable. Raises Error.
  void Sync() const;

 private:
  std::string path_;
  FileDescriptor descriptor_;
  struct stat status_;
};

// Calls `visit` for each name in the directory, "." and ".." among them. Returns 0, or the errno
// value of what kept it from listing them all.
int ForEachName(const Directory& directory, const std::function<void(const char*)>& visit);

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_IO_DIRECTORY_H_
