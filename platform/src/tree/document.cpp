// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "tree/document.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <utility>

#include "errors/error.h"
#include "errors/file_failure.h"
#include "os/fork.h"
#include "os/host_paths.h"
#include "os/newest.h"
#include "services/checksum.h"
#include "tree/document_parser.h"

namespace ZynCtl::Config {

using HostPlatform::Io::FileDescriptor;

namespace {

constinit HostPlatform::Io::Newest<Document> newest;

constexpr std::size_t kReadPieceSize = 128 << 10;

// Resolution of the coarsest file systems, in seconds. Other coarse ones count hundredths.
constexpr time_t kCoarseTime = 2;
constexpr long kFineTime = 10'000'000;

// True if any later change will show in the file's times: they lie before the clock's last tick,
// also when rounded up to the file system's resolution.
bool AreTimesPast(const struct stat& status) {
  struct timespec now = {};
  clock_gettime(CLOCK_REALTIME_COARSE, &now);  // the clock of a local file system's times
  const struct timespec& changed = status.st_ctim;
  if (changed.tv_nsec % kFineTime == 0) return changed.tv_sec + kCoarseTime < now.tv_sec;
  return changed.tv_sec < now.tv_sec ||
         (changed.tv_sec == now.tv_sec && changed.tv_nsec < now.tv_nsec);
}

// Reads through a buffer small enough for the processor's cache.
std::uint64_t ChecksumOf(const FileDescriptor& file, std::size_t size, const std::string& path) {
  const auto buffer = std::make_unique_for_overwrite<char[]>(kReadPieceSize);
  HostPlatform::ChecksumOfPieces checksum;
  for (std::size_t done = 0; done < size;) {
    const std::size_t piece = std::min(size - done, kReadPieceSize);
    HostPlatform::Io::ReadAt(file, done, buffer.get(), piece, path);
    checksum.Add({buffer.get(), piece});
    done += piece;
  }
  return checksum.Value();
}

// The usual cause is a volume that is not mounted.
void RefuseDanglingLink(const std::string& path) {
  struct stat status;
  if (lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return;
  RaiseConfigFile(path +
                  ": it is a symbolic link to a file that is not there; mount what it leads to, or "
                  "remove the link");
}

}  // namespace

// Follows symbolic links, by which administrators move such files. O_NONBLOCK avoids blocking on a
// FIFO.
std::shared_ptr<const Document> Document::Read(const std::string& path, const Document* known) try {
  const FileDescriptor file(AT_FDCWD, path.c_str(), O_RDONLY | O_NONBLOCK);
  if (!file) {
    if (errno != ENOENT)
      HostPlatform::Io::RaiseSystemError(errno, path, "open the configuration file");
    RefuseDanglingLink(path);
    return nullptr;
  }
  return std::shared_ptr<const Document>(new Document(file, path, known));
} catch (const HostPlatform::Io::Error& error) {
  RaiseConfigFile(error);
}

Document::Document(const FileDescriptor& file, const std::string& path, const Document* known)
    : status_(HostPlatform::Io::StatOf(file, path)) {
  if (!S_ISREG(status_.st_mode)) RaiseConfigFile(path + ": it is not a plain file");
  const bool settled = AreTimesPast(status_);
  const auto size = static_cast<std::size_t>(status_.st_size);
  if (known != nullptr && known->checksum_ && HostPlatform::Io::SameFile(known->status_, status_) &&
      ChecksumOf(file, size, path) == *known->checksum_) {
    if (!settled) checksum_ = known->checksum_;
    store_ = known->store_;
    root_ = known->root_;
    return;
  }
  auto text = std::make_unique_for_overwrite<char[]>(size + kTextPadding);
  HostPlatform::Io::ReadAt(file, 0, text.get(), size, path);
  std::memset(text.get() + size, 0, kTextPadding);
  if (!settled) checksum_ = HostPlatform::Checksum({text.get(), size});
  const auto store = std::make_shared<TreeStore>();
  root_ = ParseDocument(std::move(text), size, path, store.get());
  store_ = store;
}

Document::Document(std::shared_ptr<const TreeStore> store, Node* root, std::uint64_t checksum)
    : checksum_(checksum), store_(std::move(store)), root_(root) {}

bool Document::IsOf(const struct stat& status) const {
  return !checksum_ && HostPlatform::Io::SameFile(status, status_);
}

bool Document::IsAt(const std::string& path) const {
  struct stat status;
  if (stat(path.c_str(), &status) != 0 || !HostPlatform::Io::SameFile(status, status_)) {
    return false;
  }
  if (!checksum_) return true;
  const FileDescriptor file(AT_FDCWD, path.c_str(), O_RDONLY | O_NONBLOCK);
  if (!file) HostPlatform::Io::RaiseSystemError(errno, path, "open the configuration file");
  return ChecksumOf(file, static_cast<std::size_t>(status.st_size), path) == *checksum_;
}

bool Document::Equals(const Document& other) const {
  return status_.st_dev == other.status_.st_dev && status_.st_ino == other.status_.st_ino &&
         status_.st_size == other.status_.st_size && SameTree(*root_, *other.root_);
}

std::shared_ptr<const Document> NewestDocument() {
  const char* const path = HostPlatform::Io::ConfigFilePath();
  std::shared_ptr<const Document> known = newest.Get();
  struct stat status;
  if (known && stat(path, &status) == 0 && known->IsOf(status)) return known;
  std::shared_ptr<const Document> read = Document::Read(path, known.get());
  if (!read && known) RaiseConfigFile(std::string(path) + HostPlatform::Io::kGone);
  newest.Set(read);
  return read;
}

void UseAsNewest(std::shared_ptr<const Document> document) {
  newest.Set(std::move(document));
}

void ForgetNewestDocument() {
  newest.Set(nullptr);
}

}  // namespace ZynCtl::Config
