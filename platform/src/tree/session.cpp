// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "tree/session.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <system_error>
#include <utility>

#include "errors/error.h"
#include "errors/file_failure.h"
#include "os/directory.h"
#include "os/file_replacement.h"
#include "os/fork.h"
#include "os/host_paths.h"
#include "os/newest.h"
#include "services/checksum.h"
#include "services/feature_page.h"
#include "tree/document_parser.h"
#include "tree/document_writer.h"
#include "tree/stored_text.h"

namespace ZynCtl::Config {

using HostPlatform::Io::Directory;
using HostPlatform::Io::Error;
using HostPlatform::Io::ErrorKind;
using HostPlatform::Io::FileDescriptor;
using HostPlatform::Io::FileReplacement;
using HostPlatform::Io::RaiseSystemError;

namespace {

constinit std::atomic<std::uint64_t> lastSession{0};

constexpr mode_t kConfigFileMode = 0640;

const char* NameOf(Node::Type type) {
  switch (type) {
    case Node::Type::kBranch:
      return "a branch (a JSON object)";
    case Node::Type::kArray:
      return "an array";
    default:
      return "a value";
  }
}

// Text, numbers and booleans may replace each other and null.
bool MayBecome(Node::Type present, Node::Type wanted) {
  if (wanted == Node::Type::kText) {
    return present != Node::Type::kBranch && present != Node::Type::kArray;
  }
  return present == wanted || present == Node::Type::kNull;
}

// The path to replace: the file, or its target if it is a symbolic link. The link is read once. A
// link planted by a member of a group that may write to the host directory must not redirect root.
std::filesystem::path TargetIn(const Directory& host) {
  const char* const name = HostPlatform::Io::kConfigFileName;
  const std::string path = host.PathOf(name);
  const FileDescriptor file(host.get(), name, O_PATH | O_NOFOLLOW);
  if (!file && errno == ENOENT) return path;
  if (!file) RaiseSystemError(errno, path, "look at the configuration file");
  const struct stat status = HostPlatform::Io::StatOf(file, path);
  if (!S_ISLNK(status.st_mode)) return path;
  const uid_t owner = status.st_uid;
  if (owner != 0 && owner != geteuid() && owner != host.status().st_uid) {
    throw Error(ErrorKind::kInsecure,
                path +
                    ": it is a link of a user who does not own the host directory, and could "
                    "have been planted; remove it");
  }
  char link[PATH_MAX];
  const ssize_t size = readlinkat(file.get(), "", link, sizeof link);
  if (size < 0) RaiseSystemError(errno, path, "read the link");
  std::error_code missing;
  const std::filesystem::path directory = host.path();
  const auto target = std::filesystem::canonical(
      directory / std::string(link, static_cast<std::size_t>(size)), missing);
  return missing ? std::filesystem::path(path) : target;
}

[[noreturn]] void RaiseTooLarge(const std::string& path) {
  RaiseConfigFile(path + ": the configuration file cannot have more than " +
                  std::to_string(kLargestDocument >> 20) +
                  " MiB, the most that is read again; nothing was changed. Remove policies, make "
                  "their blobs smaller, or use the configuration store");
}

}  // namespace

Session::Session() try
    : path_(HostPlatform::Io::ConfigFilePath()),
      generation_(HostPlatform::Io::Generation()),
      store_(std::make_shared<TreeStore>()),
      number_(++lastSession) {
  root_.session = this;
  lock_.emplace(HostPlatform::Io::ConfigFileLockPath(), HostPlatform::Io::LockDeadline());
  UseDocument(NewestDocument());
  HostPlatform::FollowFeaturesNow();
} catch (const HostPlatform::Io::Error& error) {
  RaiseConfigFile(error);
}

void Session::End() noexcept {
  lock_.reset();
  ended_ = true;
}

std::shared_ptr<ConfigBranch> Session::MakeBranch(const Place& place) {
  return {shared_from_this(), &branches_.emplace_back(place)};
}

std::vector<std::shared_ptr<ConfigBranch>> Session::MakeBranches(const Place& array,
                                                                 const Node& node) {
  std::vector<std::shared_ptr<ConfigBranch>> branches;
  branches.reserve(node.children.size());
  const std::shared_ptr<Session> self = shared_from_this();
  for (std::size_t i = 0; i < node.children.size(); ++i) {
    const Node* const item = node.children[i].node;
    if (item->type != Node::Type::kBranch) {
      RaiseAt(Place{this, &array, {}, i}, "it is not a branch (a JSON object)");
    }
    branches.emplace_back(self, &branches_.emplace_back(this, &array, i, item, version_));
  }
  return branches;
}

std::shared_ptr<ConfigArray> Session::MakeArray(const Place& place) {
  return {shared_from_this(), &arrays_.emplace_back(place)};
}

// Absence is not cached, because the session may have created the node meanwhile.
const Node* Session::Read(const Place& place) const {
  if (place.version == version_ && place.node != nullptr) return place.node;
  const Node* found = nullptr;
  if (place.parent == nullptr) {
    found = tree_;
  } else if (const Node* parent = Read(*place.parent)) {
    if (place.index == Place::kNamed) {
      found = FindChild(*parent, place.name);
    } else if (place.index < parent->children.size()) {
      found = parent->children[place.index].node;
    }
  }
  place.node = found;
  place.version = version_;
  return found;
}

bool Session::IsChanging(const Place& place) const {
  const Node* const node = Read(place);
  return node != nullptr && node->owner == number_;
}

Node& Session::Change(const Place& place, Node::Type type) {
  PrepareToChange();
  if (place.version == version_ && place.node != nullptr && place.node->owner == number_ &&
      place.node->type == type) {
    return *const_cast<Node*>(place.node);  // the session's own node
  }
  Node*& slot = SlotOf(place, type);
  if (!MayBecome(slot->type, type)) {
    RaiseAt(place, std::string("it is ") + NameOf(slot->type) + " and not " + NameOf(type));
  }
  if (slot->owner != number_) {
    slot = store_->Copy(*slot, number_);
    ++version_;
  }
  slot->type = type;
  place.node = slot;
  place.version = version_;
  return *slot;
}

std::size_t Session::Append(const Place& array) {
  Node& node = Change(array, Node::Type::kArray);
  node.children.push_back({{}, store_->Make(Node::Type::kBranch, number_)});
  return node.children.size() - 1;
}

// The parent's pointer to the node at the place; creates the node if it is absent.
Node*& Session::SlotOf(const Place& place, Node::Type type) {
  if (place.parent == nullptr) return tree_;
  if (place.index != Place::kNamed) {
    if (Read(place) == nullptr) {
      RaiseConfigFile(path_ + ": " + PathOf(place) + ": it was removed; nothing was changed");
    }
    return Change(*place.parent, Node::Type::kArray).children[place.index].node;
  }
  if (!IsReadable(place.name)) {
    RaiseConfigFile(path_ + ": " + PathOf(place) +
                    ": the name is not UTF-8 without NUL, which JSON needs; nothing was changed");
  }
  Node& parent = Change(*place.parent, Node::Type::kBranch);
  for (Child& child : parent.children) {
    if (child.name == place.name) return child.node;
  }
  const std::string_view name = store_->Keep(place.name);
  return parent.children.emplace_back(Child{name, store_->Make(type, number_)}).node;
}

void Session::ChangeText(const Place& place, std::string stored) {
  const std::string_view text = store_->Keep(std::move(stored));
  Change(place, Node::Type::kText).text = text;
}

void Session::PrepareToChange() {
  if (ended_) RaiseConfigFile(path_ + ": changed after it had been unlocked");
  const bool locked = lock_ && lock_->HeldByThisProcess();
  if (!locked && HostPlatform::Io::Generation() != generation_) {
    RaiseConfigFile(path_ +
                    ": locked by the parent process before a fork; a child needs a lock of "
                    "its own to change it");
  }
  if (refused_) {
    RaiseConfigFile(path_ +
                    ": another process changed it since it was read without a lock; "
                    "nothing was changed. Try again");
  }
  if (!locked || !lock_->BeginChange()) LockForChange();
}

// Takes the lock at the first change of a session that was opened without it, because the lock file
// was missing or not writable, or was replaced while it was being locked.
void Session::LockForChange() try {
  const Directory directory(HostPlatform::Io::HostDirectoryPath());
  lock_.emplace(directory, HostPlatform::Io::kConfigFileLockName, HostPlatform::Io::LockDeadline());
  const std::shared_ptr<const Document> newest = NewestDocument();
  const bool same = newest && base_ && newest->Equals(*base_);
  if (!same && newest != base_ && answered_) {
    refused_ = true;
    PrepareToChange();
  }
  UseDocument(newest);
} catch (const Error& error) {
  lock_.reset();
  RaiseConfigFile(error);
} catch (...) {
  lock_.reset();  // the next change tries again
  throw;
}

void Session::Write() {
  PrepareToChange();
  try {
    const Directory host(HostPlatform::Io::HostDirectoryPath());
    const std::filesystem::path target = TargetIn(host);
    const std::string name = target.filename();
    const Directory directory(target.parent_path());
    FileReplacement next(directory, name.c_str(), kConfigFileMode);
    HostPlatform::ChecksumOfPieces checksum;
    std::size_t size = 0;
    WriteDocument(*tree_, [&](std::string_view piece) {
      size += piece.size();
      if (size > kLargestDocument) RaiseTooLarge(next.path());
      HostPlatform::Io::WriteAll(next.file(), piece, next.path());
      HostPlatform::Io::StartFlush(next.file());
      checksum.Add(piece);
    });
    ++version_;
    CopyRest(tree_);
    auto written = std::make_shared<Document>(store_, tree_, checksum.Value());
    auto nextStore = std::make_shared<TreeStore>();
    next.Flush();
    if (!IsUntouched()) {
      next.Flush();  // copies the file's present owner and mode
      CheckPresent();
    }
    next.Commit();
    NoteWritten(std::move(written), next.file());
    // The written tree is immutable from now on; later changes copy its nodes to a new store.
    store_ = std::move(nextStore);
    number_ = ++lastSession;
  } catch (const HostPlatform::Io::Error& error) {
    RaiseConfigFile(error);
  }
}

// Deep-copies the nodes still shared with `base_`, so that `store_` owns the whole tree.
void Session::CopyRest(Node*& slot) {
  if (slot->owner != number_) slot = store_->Copy(*slot, number_);
  for (Child& child : slot->children)
    CopyRest(child.node);
}

// Takes the file's status after the rename, which has changed its times. If fstat() fails the
// document belongs to no file: it is read anew, and a second Write() is refused.
void Session::NoteWritten(std::shared_ptr<Document> written, const FileDescriptor& file) {
  struct stat status;
  base_ = written;
  if (fstat(file.get(), &status) != 0) return;
  written->SetStatus(status);
  UseAsNewest(std::move(written));
}

// False if another writer changed the file in spite of the lock, because the lock file was removed.
bool Session::IsUntouched() const {
  struct stat status;
  return base_ ? base_->IsAt(path_) : stat(path_.c_str(), &status) != 0;
}

// Raises unless the file has the content of `base_`. Another owner or mode and other times are
// accepted.
void Session::CheckPresent() const {
  if (base_) {
    const std::shared_ptr<const Document> present = Document::Read(path_, nullptr);
    if (present && present->Equals(*base_)) return;
  }
  RaiseConfigFile(path_ +
                  ": another process changed it while it was locked, since the lock file "
                  "was removed or the file was changed by hand; nothing was changed. Try "
                  "again");
}

void Session::UseDocument(std::shared_ptr<const Document> document) {
  Node* const tree = document ? document->root() : store_->Make(Node::Type::kBranch);
  base_ = std::move(document);
  tree_ = tree;
  ++version_;
}

std::string Session::PathOf(const Place& place) const {
  if (place.parent == nullptr) return "";
  const bool inArray = place.index != Place::kNamed;
  return PathOf(*place.parent) +
         (inArray ? '[' + std::to_string(place.index) + ']' : '/' + std::string(place.name));
}

void Session::RaiseAt(const Place& place, const std::string& reason) const {
  const std::string where = PathOf(place);
  RaiseConfigFile(path_ + ": " + (where.empty() ? "/" : where) + ": " + reason +
                  "; the file was left as it is. Correct it by hand");
}

}  // namespace ZynCtl::Config
