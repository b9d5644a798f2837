// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// One locked use of the configuration file, between Lock() and Unlock().
//
// Handles are cursors (Place) into the tree: a cursor's node is looked up again after the session
// copied or removed nodes. The session owns all its handles.
#ifndef PLATFORM_SRC_TREE_SESSION_H_
#define PLATFORM_SRC_TREE_SESSION_H_

#include <sys/types.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "os/file_lock.h"
#include "tree/document.h"
#include "tree/node.h"
#include "zynctl/config_file.h"

namespace ZynCtl::Config {

class Session : public std::enable_shared_from_this<Session> {
 public:
  // Locks the file if this process has permission, and reads it. Raises ConfigFileException.
  Session();

  // Releases the lock; unwritten changes are lost.
  void End() noexcept;

  std::shared_ptr<ConfigBranch> MakeBranch(const Place& place);
  std::vector<std::shared_ptr<ConfigBranch>> MakeBranches(const Place& array, const Node& node);
  std::shared_ptr<ConfigArray> MakeArray(const Place& place);
  // Copies a name to the memory of the session's handles.
  std::string_view KeepName(std::string_view name) { return names_.Keep(name); }
  const Place& Root() const { return root_; }

  // The node at the place; null if there is none.
  const Node* Read(const Place& place) const;

  // The node at the place, copied or created as the session's own. Raises if the session may not
  // change the file, or if the node has another type.
  Node& Change(const Place& place, Node::Type type);
  // Sets a value to the text, given in its stored form (stored_text.h). Raises like Change().
  void ChangeText(const Place& place, std::string stored);

  // Appends an empty branch to the array and returns its index. Raises like Change().
  std::size_t Append(const Place& array);

  // True if the node at the place is the session's own.
  bool IsChanging(const Place& place) const;

  // Records that the caller got an answer, which a later change must not contradict.
  void NoteAnswer() { answered_ = true; }

  // Invalidates the cached nodes of all cursors, after nodes were removed.
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
  unsigned generation_;  // of the process that opened the session
  std::optional<HostPlatform::Io::FileLock> lock_;
  TreeStore names_;                       // names of handles
  std::shared_ptr<const Document> base_;  // null: there is no file
  std::shared_ptr<TreeStore> store_;      // nodes made by the session
  Node* tree_ = nullptr;                  // root of base_, or the session's copy of it
  std::uint64_t number_;                  // Node::owner of the session's own nodes
  std::uint64_t version_ = 1;             // invalidates the cursors' cached nodes
  bool answered_ = false;                 // the caller got an answer
  bool refused_ = false;                  // an answer read without the lock is out of date
  bool ended_ = false;
  Place root_;
  std::deque<ConfigBranch> branches_;
  std::deque<ConfigArray> arrays_;
};

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_TREE_SESSION_H_
