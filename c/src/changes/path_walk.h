// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The directories and symbolic links on a path, each of which may be swapped.
#ifndef C_SRC_CHANGES_PATH_WALK_H_
#define C_SRC_CHANGES_PATH_WALK_H_

#include <cstdint>
#include <string>
#include <vector>

namespace QuorC {

struct PathStep {
  enum Kind { kDirectory, kLink, kEnd };

  std::string path;  // without symbolic links before its last part
  Kind kind;         // kEnd: what the path names, of whatever type
  std::uint64_t device;
  std::uint64_t inode;

  bool operator==(const PathStep&) const = default;
};

struct PathWalk {
  std::vector<PathStep> steps;
  std::string last;  // the last path reached: the end, or the directory that lacks the next part
  int error = 0;     // reason of an early end: ENOENT, EACCES, ELOOP

  bool operator==(const PathWalk&) const = default;
};

// `path` is absolute.
PathWalk Walk(const std::string& path);

}  // namespace QuorC

#endif  // C_SRC_CHANGES_PATH_WALK_H_
