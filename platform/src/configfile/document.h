// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The configuration file as it was read at one moment.
#ifndef PLATFORM_SRC_CONFIGFILE_DOCUMENT_H_
#define PLATFORM_SRC_CONFIGFILE_DOCUMENT_H_

#include <sys/stat.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "configfile/node.h"
#include "io/file_descriptor.h"

namespace ZynCtl::Config {

class Document {
 public:
  // Reads and parses the file; null when there is none, nor a link to one. It is not parsed again
  // when it holds what `known`, which may be null, was read from. Raises ConfigFileException.
  static std::shared_ptr<const Document> Read(const std::string& path, const Document* known);

  // What was written to a file that is not in place yet: the tree, which is in the store, and the
  // checksum of its text.
  Document(std::shared_ptr<const TreeStore> store, Node* root, std::uint64_t checksum);

  // That of the file, when it is in place.
  void SetStatus(const struct stat& status) { status_ = status; }

  // Whether `status` is that of the file that was read, unchanged. Never of a file that was read so
  // soon after its last change that another change could have left no trace in its times: within
  // one tick of the clock, or within two seconds where the file system keeps no fractions. A file
  // that gets the inode of this one later has later times, so that nothing needs to pin the inode:
  // with the last mapping or descriptor of a file that was replaced goes the work of deleting it,
  // which would be a reader's.
  bool IsOf(const struct stat& status) const;

  // Whether the file at the path is the one that was read, with the same content. Looks at the
  // content itself where the times cannot tell. Raises Error.
  bool IsAt(const std::string& path) const;

  // Whether the other one was read of the same file, as large as this one, and has the same tree.
  bool Equals(const Document& other) const;

  Node* root() const { return root_; }

 private:
  Document(const HostPlatform::Io::FileDescriptor& file, const std::string& path,
           const Document* known);

  struct stat status_ = {};
  std::optional<std::uint64_t> checksum_;  // of the text; nothing where the times tell changes
  std::shared_ptr<const TreeStore> store_;
  Node* root_ = nullptr;
};

// The newest document of the host directory; null when there is no file. Costs one stat() while
// the file is the one that the process has parsed already. Raises like Document::Read(), and where
// a file that was there is gone.
std::shared_ptr<const Document> NewestDocument();

// Keeps the document as the newest one for as long as it is that of the file.
void UseAsNewest(std::shared_ptr<const Document> document);

// Lets go of the parsed document; it is read anew when somebody asks.
void ForgetNewestDocument();

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_CONFIGFILE_DOCUMENT_H_
