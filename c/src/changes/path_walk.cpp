// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "changes/path_walk.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

namespace QuorC {
namespace {

constexpr int kMostLinks = 40;  // as the kernel's own limit

// Pushes the parts of the path on the stack, the first one on top.
void Push(const std::string& path, std::vector<std::string>* parts) {
  std::size_t end = path.size();
  while (end > 0) {
    const std::size_t slash = path.rfind('/', end - 1);
    const std::size_t begin = slash == path.npos ? 0 : slash + 1;
    if (begin < end) parts->push_back(path.substr(begin, end - begin));
    end = slash == path.npos ? 0 : slash;
  }
}

// Walks as far as possible. Returns the errno value of the obstacle, or 0.
int Go(const std::string& path, PathWalk* walk) {
  std::vector<std::string> parts;
  Push(path, &parts);
  std::string& here = walk->last;
  int links = 0;
  while (!parts.empty()) {
    const std::string part = std::move(parts.back());
    parts.pop_back();
    if (part == ".") continue;
    if (part == "..") {
      here.resize(here.empty() ? 0 : here.rfind('/'));
      continue;
    }
    std::string next = here;
    next.append(1, '/').append(part);
    struct stat status;
    if (lstat(next.c_str(), &status) != 0) return errno;
    const bool isLink = S_ISLNK(status.st_mode);
    const PathStep::Kind kind = isLink          ? PathStep::kLink
                                : parts.empty() ? PathStep::kEnd
                                                : PathStep::kDirectory;
    walk->steps.push_back({next, kind, status.st_dev, status.st_ino});
    if (!isLink) {
      here = next;
      continue;
    }
    char target[PATH_MAX];
    const ssize_t length = readlink(next.c_str(), target, sizeof target);
    if (length < 0) return errno;
    if (++links > kMostLinks) return ELOOP;
    const std::string text(target, static_cast<std::size_t>(length));
    if (text.starts_with('/')) here.clear();
    Push(text, &parts);
  }
  return 0;
}

}  // namespace

PathWalk Walk(const std::string& path) {
  PathWalk walk;
  walk.error = Go(path, &walk);
  if (walk.last.empty()) walk.last.assign(1, '/');
  return walk;
}

}  // namespace QuorC
