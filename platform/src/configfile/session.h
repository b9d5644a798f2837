// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// One locked use of the configuration file.
//
// Handles are places in the tree, not nodes: what is at a place is looked up again whenever the
// session has copied or removed nodes since. The session keeps all its handles alive.
#ifndef PLATFORM_SRC_CONFIGFILE_SESSION_H_
#define PLATFORM_SRC_CONFIGFILE_SESSION_H_

#include <sys/types.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "configfile/document.h"
#include "configfile/node.h"
#include "io/file_lock.h"
#include "zynctl/config_file.h"

namespace ZynCtl::Config {

class Session : public std::enable_shared_from_this<Session> {
 public:
  // Locks the file where this process may, and reads it. Raises ConfigFileException.
  Session();

  // Releases the lock. What is not written is never written.
  void End() noexcept;

  std::shared_ptr<ConfigBranch> MakeBranch(const Place& place);
  std::vector<std::shared_ptr<ConfigBranch>> MakeBranches(const Place& array, const Node& node);
  std::shared_ptr<ConfigArray> MakeArray(const Place& place);
  // The same name, for the handles of the session.
  std::string_view KeepName(std::string_view name) { return names_.Keep(name); }
  const Place& Root() const { return root_; }

  // What is at the place; null when nothing is.
  const Node* Read(const Place& place) const;

  // What is at the place, the session's own to change; created when nothing is there. Raises when
  // the session may not change the file, or when something of another type is there.
  Node& Change(const Place& place, Node::Type type);
  // The same for a value, which becomes the text in its stored form (stored_text.h).
  void ChangeText(const Place& place, std::string stored);

  // Adds an empty branch to the array at the place; returns its index. Raises like Change().
  std::size_t Append(const Place& array);

  // Whether the session has begun to change what is at the place.
  bool IsChanging(const Place& place) const;

  // Says that an answer was given which a later change must not contradict.
  void NoteAnswer() { answered_ = true; }

  // After nodes were removed: handles to them are looked up again.
  void ForgetPlaces() { ++version_; }

  // Replaces the file. Raises ConfigFileException.
  void Write();

  [[noreturn]] void RaiseAt(const Place& place, const std::string& reason) const;

 private:
  void PrepareToChange();
  void LockForChange();
  void UseDocument(std::shared_ptr<const Document> document);
  void NoteWritten(std::shared_ptr<Document> written, const HostPlatform::Io::FileDescriptor& file);
  bool IsUntouched() const;
  void CheckPresent() const;
  Node*& SlotOf(const Place& place, Node::Type type);
  void CopyRest(Node*& slot);
  std::string PathOf(const Place& place) const;

  std::string path_;
  pid_t process_;  // that opened the session
  std::optional<HostPlatform::Io::FileLock> lock_;
  TreeStore names_;                       // of handles
  std::shared_ptr<const Document> base_;  // null: there is no file
  std::shared_ptr<TreeStore> store_;      // of what the session makes
  Node* tree_ = nullptr;                  // the base's root, or the session's copy of it
  std::uint64_t number_;                  // owner of the nodes that it may change
  std::uint64_t version_ = 1;             // counts what makes nodes of places out of date
  bool answered_ = false;                 // something was read
  bool refused_ = false;                  // what was read without a lock is out of date
  bool ended_ = false;
  Place root_;
  std::deque<ConfigBranch> branches_;
  std::deque<ConfigArray> arrays_;
};

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_CONFIGFILE_SESSION_H_
