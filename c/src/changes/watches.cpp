// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "changes/watches.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/inotify.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace QuorC {
namespace {

constexpr std::uint32_t kSelf = IN_MOVE_SELF | IN_DELETE_SELF;
constexpr std::uint32_t kLink = kSelf | IN_ATTRIB | IN_DONT_FOLLOW;
constexpr std::uint32_t kNewName = IN_CREATE | IN_MOVED_TO;
constexpr std::uint32_t kInPlace = kSelf | IN_MODIFY | IN_ATTRIB;

constexpr int kStoreSwitch = 62;
constexpr int kMostRounds = 16;   // of arming, while the path changes meanwhile
constexpr int kMostReads = 4096;  // more than a full queue needs

std::string Parent(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string NameIn(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

std::string Problem(const std::string& path, int error) {
  std::string text = path + ": cannot be watched: " + std::generic_category().message(error);
  if (error == ENOSPC) text += " (fs.inotify.max_user_watches)";
  return text;
}

}  // namespace

bool Events::MovedAny() const {
  return std::find(moved.begin(), moved.end(), true) != moved.end();
}

bool Events::Any() const {
  return structure || lost || MovedAny() ||
         std::find(edited.begin(), edited.end(), true) != edited.end();
}

std::string Watches::Arm() {
  if (!inotify_) {
    inotify_ = Descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!inotify_) {
      return "inotify: " + std::generic_category().message(errno) +
             (errno == EMFILE ? " (fs.inotify.max_user_instances)" : "");
    }
  }
  std::string problem;
  for (int round = 0; round < kMostRounds; ++round) {
    Forget();
    const Paths paths = WalkAll();
    waitsForFiles_ = SelectedIsMissing();
    if (!AddPath(paths.directory, &problem)) break;
    bool added = true;
    for (const Place place : kPlaces) {
      added = added && AddFile(place, paths, &problem);
    }
    if (!added) break;
    // Starts over if the path changed meanwhile.
    if (WalkAll() == paths) return "";
  }
  Forget();
  return problem.empty() ? directory_ + ": cannot be watched: it changes all the time" : problem;
}

Watches::Paths Watches::WalkAll() const {
  Paths paths;
  paths.directory = Walk(directory_);
  for (const Place place : kPlaces) {
    PathWalk& walk = paths.files[place];
    walk = Walk(directory_ + '/' + NameOf(place));
    if (walk.steps.empty() || walk.steps.back().kind != PathStep::kEnd) continue;
    walk.steps.back().inode = 0;  // changed by every commit, which is no change of the path
  }
  return paths;
}

void Watches::Forget() {
  for (const auto& [number, watched] : watched_) {
    inotify_rm_watch(inotify_.get(), number);
  }
  watched_.clear();
  Events events;
  bool any = true;
  while (any) {
    Read(&events, &any);
  }
}

// EACCES is ignored for steps of the path and for files, whose names the watch on their directory
// covers.
bool Watches::Add(const std::string& path, std::uint32_t mask, Watched watched,
                  std::string* problem) {
  const int number = inotify_add_watch(inotify_.get(), path.c_str(), mask | IN_MASK_ADD);
  if (number >= 0) {
    watched_.emplace(number, std::move(watched));
    return true;
  }
  const bool needed = watched.role == Watched::kHost || watched.role == Watched::kTarget;
  if (!needed && (errno == EACCES || errno == ENOENT)) return true;
  *problem = Problem(path, errno);
  return false;
}

bool Watches::AddPath(const PathWalk& walk, std::string* problem) {
  for (const PathStep& step : walk.steps) {
    if (step.kind == PathStep::kEnd) continue;  // below
    const std::uint32_t mask = step.kind == PathStep::kLink ? kLink : kSelf | IN_DONT_FOLLOW;
    if (!Add(step.path, mask, {Watched::kPath, kStore, ""}, problem)) return false;
  }
  if (walk.error == 0) {
    const std::uint32_t mask = kSelf | IN_MOVED_TO | (waitsForFiles_ ? IN_CREATE : 0U);
    return Add(walk.last, mask | IN_ONLYDIR, {Watched::kHost, kStore, ""}, problem);
  }
  if (walk.error != ENOENT) {
    *problem = Problem(directory_, walk.error);
    return false;
  }
  // The target of a dangling link is awaited where the walk ended.
  return Add(walk.last, kSelf | kNewName, {Watched::kPath, kStore, ""}, problem);
}

// Watches the rest of the path: the file alone, or links and directories that lead to it.
bool Watches::AddFile(Place place, const Paths& paths, std::string* problem) {
  if (paths.directory.error != 0) return true;
  const PathWalk& walk = paths.files[place];
  const std::size_t first = paths.directory.steps.size();
  for (std::size_t i = first; i < walk.steps.size(); ++i) {
    const PathStep& step = walk.steps[i];
    if (step.kind == PathStep::kEnd) {
      if (!Add(step.path, kInPlace, {Watched::kContent, place, ""}, problem)) return false;
      // A file behind a link is replaced in the directory of the link's target.
      Watched target = {Watched::kTarget, place, NameIn(step.path)};
      return Add(Parent(step.path), kSelf | IN_MOVED_TO, std::move(target), problem);
    }
    const std::uint32_t mask = step.kind == PathStep::kLink ? kLink : kSelf | IN_DONT_FOLLOW;
    if (!Add(step.path, mask, {Watched::kPath, kStore, ""}, problem)) return false;
  }
  if (walk.steps.size() == first) return true;  // the directory's watch reports a new file
  // The target of a dangling link is awaited where the walk ended.
  return Add(walk.last, kSelf | kNewName, {Watched::kPath, kStore, ""}, problem);
}

// Waits until all events of a rename in the directory are queued. They come one by one, those of
// the file itself last, while the kernel holds a lock that reading the directory takes too.
void Watches::AwaitRename() const {
  DIR* const directory = opendir(directory_.c_str());
  if (directory == nullptr) return;
  static_cast<void>(readdir(directory));
  closedir(directory);
}

// Watches the file that has the name now. Removes the former file's watch first, since its
// deletion, when the last reader closes it, must wake nobody. False if the file cannot be watched.
bool Watches::Follow(Place place) {
  for (auto at = watched_.begin(); at != watched_.end();) {
    if (at->second.role == Watched::kContent && at->second.place == place) {
      inotify_rm_watch(inotify_.get(), at->first);
      at = watched_.erase(at);
    } else {
      ++at;
    }
  }
  std::string problem;
  return Add(directory_ + '/' + NameOf(place), kInPlace, {Watched::kContent, place, ""}, &problem);
}

Events Watches::Drain() {
  Events all;
  for (int round = 0; round < kMostReads && inotify_; ++round) {
    Events events;
    bool any = false;
    Read(&events, &any);
    if (!any) break;
    if (events.MovedAny()) AwaitRename();  // so that its last events are read too
    for (const Place place : kPlaces) {
      const bool changed = events.moved[place] || events.edited[place];
      if (changed && !Follow(place)) all.structure = true;
      all.moved[place] |= events.moved[place];
      all.edited[place] |= events.edited[place];
    }
    all.structure |= events.structure;
    all.lost |= events.lost;
  }
  if (all.Any() && waitsForFiles_ != SelectedIsMissing()) all.structure = true;
  return all;
}

void Watches::Read(Events* events, bool* any) {
  alignas(inotify_event) char buffer[4096];
  ssize_t got;
  do {
    got = read(inotify_.get(), buffer, sizeof buffer);
  } while (got < 0 && errno == EINTR);
  *any = got > 0;
  if (!*any) return;
  for (const char* at = buffer; at < buffer + got;) {
    inotify_event event;
    std::memcpy(&event, at, sizeof event);
    const char* const name = event.len == 0 ? "" : at + sizeof event;
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
      events->lost = true;
    } else {
      Take(event.wd, event.mask, name, events);
    }
    at += sizeof event + event.len;
  }
}

void Watches::Take(int number, std::uint32_t mask, const char* name, Events* events) const {
  const auto [begin, end] = watched_.equal_range(number);
  for (auto at = begin; at != end; ++at) {
    const Watched& watched = at->second;
    if (watched.role == Watched::kContent) {
      if ((mask & IN_IGNORED) == 0) events->edited[watched.place] = true;
      continue;
    }
    if (watched.role == Watched::kPath || (mask & (kSelf | IN_UNMOUNT)) != 0) {
      events->structure = true;
      continue;
    }
    if (watched.role == Watched::kTarget && watched.name == name) {
      events->moved[watched.place] = true;
    }
    for (const Place place : kPlaces) {
      if (watched.role == Watched::kHost && std::strcmp(name, NameOf(place)) == 0) {
        events->moved[place] = true;
      }
    }
  }
}

// True if the selected store has no file. Its first file may be made in any way, not only by a
// commit.
bool Watches::SelectedIsMissing() const {
  const auto exists = [this](Place place) {
    return access((directory_ + '/' + NameOf(place)).c_str(), F_OK) == 0;
  };
  const Descriptor file(
      open((directory_ + '/' + NameOf(kSwitches)).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  char value = 1;  // the default
  if (file && pread(file.get(), &value, 1, kStoreSwitch) != 1) value = 1;
  return !exists(value != 0 ? kStore : kFile);
}

}  // namespace QuorC
