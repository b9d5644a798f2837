// The configuration file as it was read at one moment.
#ifndef PLATFORM_SRC_CONFIGFILE_DOCUMENT_H_
#define PLATFORM_SRC_CONFIGFILE_DOCUMENT_H_

#include <sys/stat.h>

#include <memory>
#include <string>

#include "configfile/node.h"
#include "io/file_descriptor.h"

namespace ZynCtl::Config {

class Document {
 public:
  // Reads and parses the file; null when there is none. Raises ConfigFileException.
  static std::shared_ptr<const Document> Read(const std::string& path);

  // Whether `status` is that of the file that was read, unchanged. The open descriptor pins the
  // inode, so the numbers cannot have passed to another file.
  bool IsOf(const struct stat& status) const;

  const struct stat& status() const { return status_; }
  const std::shared_ptr<Node>& root() const { return root_; }

 private:
  explicit Document(const std::string& path);

  HostPlatform::Io::FileDescriptor file_;
  struct stat status_ = {};
  std::shared_ptr<Node> root_;
};

// The newest document of the host directory; null when there is no file. Costs one stat() while
// the file is the one that the process has parsed already. Raises like Document::Read().
std::shared_ptr<const Document> NewestDocument();

// Lets go of the parsed document; it is read anew when somebody asks.
void ForgetNewestDocument();

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_CONFIGFILE_DOCUMENT_H_
