// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A directory of a test's own, and what tests ask about files.
#ifndef TESTS_PLATFORM_SUPPORT_TEMPORARY_DIRECTORY_H_
#define TESTS_PLATFORM_SUPPORT_TEMPORARY_DIRECTORY_H_

#include <sys/stat.h>

#include <string>
#include <string_view>
#include <vector>

namespace PlatformTest {

// Made under TMPDIR (or /tmp), or under a directory that is given; removed with all that is in it.
// Every user may pass through it, so that tests can act as others within.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  explicit TemporaryDirectory(const std::string& parent);
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory();

  const std::string& path() const { return path_; }
  std::string PathOf(const std::string& name) const { return path_ + '/' + name; }

 private:
  std::string path_;
};

// TMPDIR (or /tmp), the build directory.
std::vector<std::string> PlacesForTemporaries();

// The first of them whose file system keeps user.* attributes; raises when none does.
std::string PlaceWithUserAttributes();
// The first of them where set-uid programs get their rights; raises when there is none.
std::string PlaceWithSetUid();

// All of these raise std::system_error that names the path.
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, std::string_view bytes);
// Puts a new file in the path's place, so that the inode is another one.
void ReplaceFile(const std::string& path, std::string_view bytes);
void Truncate(const std::string& path, std::size_t size);
struct stat StatusOf(const std::string& path);
unsigned ModeOf(const std::string& path);  // the permission bits, set-id bits included

bool Exists(const std::string& path);
// Names in the directory, sorted.
std::vector<std::string> NamesIn(const std::string& directory);
// The files in the directory, itself included, that this process has open.
std::vector<std::string> OpenBelow(const std::string& directory);

}  // namespace PlatformTest

#endif  // TESTS_PLATFORM_SUPPORT_TEMPORARY_DIRECTORY_H_
