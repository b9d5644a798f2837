// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// inotify watches on every source of a change of the catalogue.
//
// A commit renames a file into the host directory, which is one event of that directory; its mask
// excludes the other events of a commit, so that each commit is one wake-up. The files are watched
// too, since people and restored backups change them in place. So is every directory and link on
// the paths; where a path ends early, its last directory is watched for the missing part.
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

// Summary of the events of one Drain().
struct Events {
  std::array<bool, kPlaces.size()> moved = {};   // another file has the name
  std::array<bool, kPlaces.size()> edited = {};  // the file was changed in place
  bool structure = false;                        // a directory or link on the path was swapped
  bool lost = false;                             // the queue overflowed

  bool MovedAny() const;
  bool Any() const;
};

class Watches {
 public:
  explicit Watches(std::string directory) : directory_(std::move(directory)) {}

  // Sets up all watches anew. Returns the reason of a failure, or an empty string. Raises
  // std::bad_alloc.
  std::string Arm();

  // Reads all pending events and watches replaced files anew.
  Events Drain();

  // The inotify instance; -1 if there is none.
  int descriptor() const { return inotify_.get(); }

 private:
  struct Watched {
    enum Role { kPath, kHost, kTarget, kContent } role;
    Place place;       // of kTarget and kContent
    std::string name;  // of kTarget: the name to wait for
  };

  // Paths of the directory and of each file, without the parts that a commit changes.
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
  bool waitsForFiles_ = false;  // new names in the host directory count as events
};

}  // namespace QuorC

#endif  // C_SRC_CHANGES_WATCHES_H_
