// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// inotify on all that a change of the catalogue can come from.
//
// A commit renames a file into the host directory, which is one event of that directory: its mask
// leaves out what a commit does before and after, so that a commit wakes nobody twice. Files that
// are changed in place, by hands and restored backups, are watched themselves. So is each directory
// and link on the way to the directory and to a file; where a way ends early, its last directory is
// watched for what is missing.
#ifndef C_SRC_CHANGES_WATCHES_H_
#define C_SRC_CHANGES_WATCHES_H_

#include <array>
#include <cstdint>
#include <map>
#include <string>

#include "changes/descriptor.h"
#include "changes/path_walk.h"
#include "host_paths.h"

namespace QuorC {

// What the events of one drain say.
struct Events {
  std::array<bool, kPlaces.size()> moved = {};   // another file got the name
  std::array<bool, kPlaces.size()> edited = {};  // the file itself was changed
  bool structure = false;                        // something on the path is another one
  bool lost = false;                             // there were more than the system keeps

  bool MovedAny() const;
  bool Any() const;
};

class Watches {
 public:
  explicit Watches(std::string directory) : directory_(std::move(directory)) {}

  // Watches everything anew. Returns why it cannot, or an empty string. Raises std::bad_alloc.
  std::string Arm();

  // Takes all events that have come, and follows replaced files.
  Events Drain();

  // The inotify instance; -1 when there is none.
  int descriptor() const { return inotify_.get(); }

 private:
  struct Watched {
    enum Role { kPath, kHost, kTarget, kContent } role;
    Place place;       // of kTarget and kContent
    std::string name;  // of kTarget: the name to wait for
  };

  // The ways to the directory and to each file, without what a commit changes.
  struct Paths {
    PathWalk directory;
    std::array<PathWalk, kPlaces.size()> files;

    bool operator==(const Paths&) const = default;
  };

  Paths WalkAll() const;
  void Forget();
  bool Add(const std::string& path, std::uint32_t mask, Watched watched, std::string* problem);
  bool AddPath(const PathWalk& walk, std::string* problem);
  bool AddFile(Place place, const Paths& paths, std::string* problem);
  void AwaitRename() const;
  bool Follow(Place place);
  void Read(Events* events, bool* any);
  void Take(int number, std::uint32_t mask, const char* name, Events* events) const;
  bool SelectedIsMissing() const;

  std::string directory_;
  Descriptor inotify_;
  std::multimap<int, Watched> watched_;
  bool waitsForFiles_ = false;  // new names in the host directory are events too
};

}  // namespace QuorC

#endif  // C_SRC_CHANGES_WATCHES_H_
