// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Atomic, durable replacement of a file: readers and crashes meet the old content or the new.
//
//   { FileReplacement next(directory, name, mode);
//     WriteAll(next.file(), ...);
//     next.Commit(); }
//
// A temporary in the same directory is written, flushed and renamed over the file, then the
// directory is flushed. The caller holds the file's lock throughout.
#ifndef PLATFORM_SRC_OS_FILE_REPLACEMENT_H_
#define PLATFORM_SRC_OS_FILE_REPLACEMENT_H_

#include <sys/types.h>

#include <optional>
#include <string>

#include "os/directory.h"
#include "os/file_descriptor.h"

namespace HostPlatform::Io {

class FileReplacement {
 public:
  // Removes temporaries of killed writers and creates a new one. `mode` applies if the file does
  // not exist yet. Raises Error.
  FileReplacement(const Directory& directory, const char* name, mode_t mode);
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;
  // Removes the temporary if it was not committed.
  ~FileReplacement();

  const FileDescriptor& file() const { return *file_; }
  const std::string& path() const { return path_; }  // of the file that is replaced

  // Copies owner, mode and extended attributes of the replaced file, and flushes. This is the slow
  // part of a commit: a last check of the old file belongs after it. Nothing may be written
  // afterwards. Raises Error.
  void Flush();
  // Flushes and renames unless done already, then flushes the directory. Raises Error; the old file
  // is in place then, unless the message says that only the flush of the directory failed.
  void Commit();
  // Flush() and rename without the flush of the directory, which is the caller's.
  void PutInPlace();

 private:
  void SweepStale() const;
  void CarryOverAttributes();
  bool HasOwnerOf(const struct stat& status) const;

  const Directory& directory_;
  const char* name_;
  mode_t mode_;
  std::string path_;
  std::string temporaryName_;
  std::optional<FileDescriptor> file_;  // set by the constructor
  bool flushed_ = false;
  bool committed_ = false;
};

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_OS_FILE_REPLACEMENT_H_
