// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "support/temporary_directory.h"

#include <fcntl.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace PlatformTest {
namespace {

[[noreturn]] void Raise(const std::string& path) {
  throw std::system_error(errno, std::generic_category(), path);
}

bool KeepsUserAttributes(const std::string& directory) {
  const TemporaryDirectory probe(directory);
  return setxattr(probe.path().c_str(), "user.probe", "1", 1, 0) == 0;
}

bool AllowsSetUid(const std::string& directory) {
  struct statvfs status;
  if (statvfs(directory.c_str(), &status) != 0) Raise(directory);
  return (status.f_flag & ST_NOSUID) == 0;
}

std::string FirstPlace(bool (*suits)(const std::string&), const char* wanted) {
  for (const std::string& place : PlacesForTemporaries()) {
    if (suits(place)) return place;
  }
  throw std::runtime_error(std::string("neither TMPDIR nor the build directory ") + wanted);
}

}  // namespace

std::vector<std::string> PlacesForTemporaries() {
  const char* const configured = std::getenv("TMPDIR");
  return {configured != nullptr && *configured != '\0' ? configured : "/tmp",
          PLATFORM_TESTS_BUILD_DIRECTORY};
}

TemporaryDirectory::TemporaryDirectory() : TemporaryDirectory(PlacesForTemporaries().front()) {}

TemporaryDirectory::TemporaryDirectory(const std::string& parent)
    : path_(parent + "/platform-test-XXXXXX") {
  if (mkdtemp(path_.data()) == nullptr) Raise(path_);
  if (chmod(path_.c_str(), 0755) != 0) Raise(path_);
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;  // a test that failed may have left what cannot be removed
  std::filesystem::remove_all(path_, ignored);
}

std::string PlaceWithUserAttributes() {
  return FirstPlace(&KeepsUserAttributes, "keeps user attributes");
}

std::string PlaceWithSetUid() {
  return FirstPlace(&AllowsSetUid, "allows set-uid programs");
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) Raise(path);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

void WriteFile(const std::string& path, std::string_view bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) Raise(path);
}

void ReplaceFile(const std::string& path, std::string_view bytes) {
  const std::string sibling = path + ".sibling";
  WriteFile(sibling, bytes);
  if (rename(sibling.c_str(), path.c_str()) != 0) Raise(path);
}

void Truncate(const std::string& path, std::size_t size) {
  if (truncate(path.c_str(), static_cast<off_t>(size)) != 0) Raise(path);
}

struct stat StatusOf(const std::string& path) {
  struct stat status;
  if (lstat(path.c_str(), &status) != 0) Raise(path);
  return status;
}

unsigned ModeOf(const std::string& path) {
  return StatusOf(path).st_mode & 07777;
}

bool Exists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

std::vector<std::string> NamesIn(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<std::string> OpenBelow(const std::string& directory) {
  std::vector<std::string> open;
  for (const std::string& number : NamesIn("/proc/self/fd")) {
    char target[PATH_MAX] = {};
    if (readlink(("/proc/self/fd/" + number).c_str(), target, sizeof target - 1) < 0) continue;
    if (std::string(target).rfind(directory, 0) == 0) open.emplace_back(target);
  }
  return open;
}

}  // namespace PlatformTest
