// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// One version of the configuration file, parsed.
#ifndef PLATFORM_SRC_TREE_DOCUMENT_H_
#define PLATFORM_SRC_TREE_DOCUMENT_H_

#include <sys/stat.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "os/file_descriptor.h"
#include "tree/node.h"

namespace ZynCtl::Config {

class Document {
 public:
  // Reads and parses the file; null if neither it nor a link to it exists. Reuses the tree of
  // `known` (may be null) if the text is the same. Raises ConfigFileException.
  static std::shared_ptr<const Document> Read(const std::string& path, const Document* known);

  // A document that was written to a file not yet in place: its tree, kept by `store`, and the
  // checksum of its text.
  Document(std::shared_ptr<const TreeStore> store, Node* root, std::uint64_t checksum);

  // Sets the status of the file once it is in place.
  void SetStatus(const struct stat& status) { status_ = status; }

  // True if `status` is the parsed file's. Always false if that file changed within the last clock
  // tick before it was read (2 s on file systems with coarse times): a second change might not
  // show. The inode need not be pinned by a descriptor, because a file that reuses it has later
  // times; the reader with the last descriptor of a replaced file would have to pay for its
  // deletion.
  bool IsOf(const struct stat& status) const;

  // True if the file at `path` is the parsed one with the same content. Compares the content if the
  // times cannot tell. Raises Error.
  bool IsAt(const std::string& path) const;

  // True if the other document was read from the same inode with the same size and has an equal
  // tree.
  bool Equals(const Document& other) const;

  Node* root() const { return root_; }

 private:
  Document(const HostPlatform::Io::FileDescriptor& file, const std::string& path,
           const Document* known);

  struct stat status_ = {};
  std::optional<std::uint64_t> checksum_;  // of the text; unset if the times show every change
  std::shared_ptr<const TreeStore> store_;
  Node* root_ = nullptr;
};

// The newest document of the host directory; null if there is no file. Costs one stat() if the
// parsed document is still that of the file. Raises like Document::Read(), and if the process has
// read the file before and it is missing now.
std::shared_ptr<const Document> NewestDocument();

// Caches the document as the newest one.
void UseAsNewest(std::shared_ptr<const Document> document);

// Clears that cache.
void ForgetNewestDocument();

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_TREE_DOCUMENT_H_
