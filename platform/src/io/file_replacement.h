// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Replacing a file durably, so that readers and crashes meet the old content or the new.
//
//   { FileReplacement next(directory, name, mode);
//     WriteAll(next.file(), ...);
//     next.Commit(); }
//
// A sibling temporary is written, flushed and renamed over the file, and the directory is flushed.
// The caller holds the file's lock throughout.
#ifndef PLATFORM_SRC_IO_FILE_REPLACEMENT_H_
#define PLATFORM_SRC_IO_FILE_REPLACEMENT_H_

#include <sys/types.h>

#include <optional>
#include <string>

#include "io/directory.h"
#include "io/file_descriptor.h"

namespace HostPlatform::Io {

class FileReplacement {
 public:
  // Removes the temporaries that killed writers left, and creates one. `mode` is for a file
  // that does not exist yet. Raises Error.
  FileReplacement(const Directory& directory, const char* name, mode_t mode);
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;
  // Removes the temporary when it was not committed.
  ~FileReplacement();

  const FileDescriptor& file() const { return *file_; }
  const std::string& path() const { return path_; }  // of the file that is replaced

  // Carries over the owner, mode and extended attributes of the file that is replaced, and flushes.
  // The slow part of a commit: a caller that looks at the old file once more before it is replaced
  // does so after this. Nothing is written afterwards. Raises Error.
  void Flush();
  // Flushes and puts in place unless that was done, and flushes the directory. Raises Error; the
  // old file is in place then, unless the message says that only the flush of the directory failed.
  void Commit();
  // The same but for the flush of the directory, which the caller sees to.
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
  std::optional<FileDescriptor> file_;  // always there once it is made
  bool flushed_ = false;
  bool committed_ = false;
};

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_IO_FILE_REPLACEMENT_H_
