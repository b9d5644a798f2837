#include "configfile/document.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "configfile/document_parser.h"
#include "configfile/failure.h"
#include "io/error.h"
#include "io/fork.h"
#include "io/host_paths.h"
#include "io/newest.h"

namespace ZynCtl::Config {
namespace {

constinit HostPlatform::Io::Newest<Document> newest;

}  // namespace

// Symbolic links are followed: administrators keep such files elsewhere. A FIFO would block without
// O_NONBLOCK.
Document::Document(const std::string& path)
    : file_(AT_FDCWD, path.c_str(), O_RDONLY | O_NONBLOCK) {}

std::shared_ptr<const Document> Document::Read(const std::string& path) try {
  std::shared_ptr<Document> document(new Document(path));
  if (!document->file_) {
    if (errno == ENOENT) return nullptr;
    HostPlatform::Io::RaiseSystemError(errno, path, "open the configuration file");
  }
  document->status_ = HostPlatform::Io::StatOf(document->file_, path);
  if (!S_ISREG(document->status_.st_mode)) RaiseConfigFile(path + ": it is not a plain file");
  const auto size = static_cast<std::size_t>(document->status_.st_size);
  document->root_ = ParseDocument(HostPlatform::Io::ReadAt(document->file_, size, 0, path), path);
  return document;
} catch (const HostPlatform::Io::Error& error) {
  RaiseConfigFile(error.what());
}

bool Document::IsOf(const struct stat& status) const {
  return file_ && HostPlatform::Io::SameFile(status, status_);
}

std::shared_ptr<const Document> NewestDocument() {
  const char* const path = HostPlatform::Io::ConfigFilePath();
  std::shared_ptr<const Document> known = newest.Get();
  struct stat status;
  if (known && stat(path, &status) == 0 && known->IsOf(status)) return known;
  std::shared_ptr<const Document> read = Document::Read(path);
  newest.Set(read);
  return read;
}

void ForgetNewestDocument() {
  newest.Set(nullptr);
}

}  // namespace ZynCtl::Config
