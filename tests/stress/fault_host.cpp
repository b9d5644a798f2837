// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "fault_host.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "place.h"
#include "platform/admin.h"
#include "platform/feature_list.h"

namespace StressTest {
namespace {

using PlatformTest::Exists;
using PlatformTest::NamesIn;
using PlatformTest::StatusOf;

constexpr char kFeatures[] = "features";
constexpr mode_t kDirectoryMode = 02750;
// So that root, who may run this, has to give away what it makes.
constexpr uid_t kOwner = 4711;

void Demand(bool done, const std::string& path) {
  if (!done) throw std::system_error(errno, std::generic_category(), path);
}

void SetOwners(const std::string& path, uid_t user, gid_t group) {
  if (geteuid() == 0) Demand(lchown(path.c_str(), user, group) == 0, path);
}

bool SameFile(const struct stat& a, const struct stat& b) {
  return a.st_ino == b.st_ino && a.st_size == b.st_size && a.st_mode == b.st_mode &&
         a.st_uid == b.st_uid && a.st_gid == b.st_gid && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
         a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

bool IsTemporary(const std::string& name) {
  return name.find(".new-") != std::string::npos;
}

// What was changed within the last tick of the file system's clock is read anew each time.
void WaitUntilSettled(const std::string& path) {
  const struct timespec changed = StatusOf(path).st_ctim;
  struct timespec now = {};
  do {
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
  } while (now.tv_sec == changed.tv_sec && now.tv_nsec == changed.tv_nsec);
}

// Tries the lock from an open file description of its own.
bool MayBeLocked(const std::string& path) {
  const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
  Demand(fd >= 0, path);
  struct flock range = {};  // all of it
  range.l_type = F_WRLCK;
  const bool locked = fcntl(fd, F_OFD_SETLK, &range) == 0;
  close(fd);
  return locked;
}

}  // namespace

std::string NameOf(Start start) {
  switch (start) {
    case Start::kKnown:
      return "known";
    case Start::kUnknown:
      return "unknown";
    case Start::kLeftOver:
      return "left over";
    case Start::kUnmapped:
      return "unmapped";
    case Start::kEmptyDirectory:
      return "empty directory";
    case Start::kNoDirectory:
      return "no directory";
  }
  return "";
}

FaultHost::FaultHost(const std::string& store, const Catalogue& catalogue)
    : temporary_(PlaceForFiles()),
      inFile_(store == "file"),
      dataName_(inFile_ ? "host-config.json" : "config-store.cdb"),
      written_(temporary_.PathOf("written")),
      fresh_(temporary_.PathOf("fresh")),
      path_(written_) {
  if (!inFile_ && store != "store") throw std::invalid_argument("no such store: " + store);
  HostPlatform::UseHostDirectory(written_);
  HostPlatform::SetFeature(kFeatureQuorUsesConfigStore, !inFile_);
  TavQuor::QuorLib::AddPolicyInfo(catalogue.policies);
  TavQuor::QuorLib::AddDatastoreInfo(catalogue.datastores);
  HostPlatform::AddNumberedFile(kFolder, ".json", "the first one");
  SetOwners(written_, kOwner, kOwner);
  for (const std::string& name : AllNames()) {
    SetOwners(PathOf(name), kOwner, kOwner);
    Demand(chmod(PathOf(name).c_str(), StatusOf(PathOf(name)).st_mode & 07777) == 0, name);
    if (name != kFolder) Save(name);
  }
  Demand(chmod(PathOf(kFolder).c_str(), kDirectoryMode) == 0, kFolder);
  Demand(chmod(written_.c_str(), kDirectoryMode) == 0, written_);
}

void FaultHost::Prepare(Start start) {
  path_ = written_;
  const bool isFresh = start == Start::kEmptyDirectory || start == Start::kNoDirectory;
  if (isFresh) {
    path_ = fresh_;
    MakeFresh(start == Start::kEmptyDirectory);
  } else {
    Restore();
  }
  if (start == Start::kUnmapped) {
    Demand(unlink(PathOf(kFeatures).c_str()) == 0, kFeatures);
    HostPlatform::UseHostDirectory(path_);
    RestoreFile(kFeatures, &saved_.at(kFeatures));
    return;
  }
  HostPlatform::UseHostDirectory(path_);
  // Without its switch a host uses the store.
  if (isFresh && inFile_) HostPlatform::OverrideFeature(kFeatureQuorUsesConfigStore, false);
  if (start == Start::kLeftOver) {
    PlatformTest::WriteFile(PathOf('.' + dataName_ + ".new-0123456789abcdef"), "half of it");
  }
  if (start == Start::kKnown) {
    WaitUntilSettled(DataPath());
    StoredCatalogue();
    // Each call looks at the file: without the notice it would do so once in a tick of the clock.
    if (!inFile_) PlatformTest::WriteFile(PathOf(".config-store.changing"), "");
  } else if (!isFresh) {
    Touch();
  }
}

void FaultHost::Touch() const {
  if (Exists(DataPath())) Demand(utimensat(AT_FDCWD, DataPath().c_str(), nullptr, 0) == 0, path_);
}

// Makes everything below the directory as it was at first. The file system's times must show it.
void FaultHost::Restore() {
  for (const std::string& name : AllNames()) {
    if (name != kFolder && saved_.find(name) == saved_.end()) {
      Demand(unlink(PathOf(name).c_str()) == 0, name);
    }
  }
  for (auto& [name, saved] : saved_) {
    const std::string path = PathOf(name);
    if (!Exists(path) || !SameFile(StatusOf(path), saved.status)) RestoreFile(name, &saved);
  }
}

void FaultHost::RestoreFile(const std::string& name, SavedFile* saved) const {
  const std::string path = PathOf(name);
  const std::string sibling = path + ".sibling";
  PlatformTest::WriteFile(sibling, saved->content);
  SetOwners(sibling, saved->status.st_uid, saved->status.st_gid);
  Demand(chmod(sibling.c_str(), saved->status.st_mode & 07777) == 0, sibling);
  Demand(rename(sibling.c_str(), path.c_str()) == 0, path);
  saved->status = StatusOf(path);
}

void FaultHost::Save(const std::string& name) {
  saved_[name] = {PlatformTest::ReadFile(PathOf(name)), StatusOf(PathOf(name))};
}

void FaultHost::MakeFresh(bool withDirectory) {
  std::filesystem::remove_all(fresh_);
  if (!withDirectory) return;
  Demand(mkdir(fresh_.c_str(), 0700) == 0, fresh_);
  SetOwners(fresh_, kOwner, kOwner);
  Demand(chmod(fresh_.c_str(), kDirectoryMode) == 0, fresh_);
}

// Relative to the directory, those of the folder in it too.
std::vector<std::string> FaultHost::AllNames() const {
  if (!Exists(path_)) return {};
  std::vector<std::string> names = NamesIn(path_);
  if (Exists(PathOf(kFolder))) {
    for (const std::string& name : NamesIn(PathOf(kFolder)))
      names.push_back(std::string(kFolder) + '/' + name);
  }
  return names;
}

std::vector<std::string> FaultHost::Temporaries() const {
  std::vector<std::string> temporaries;
  for (const std::string& name : AllNames()) {
    if (IsTemporary(name)) temporaries.push_back(name);
  }
  return temporaries;
}

std::set<std::string> FaultHost::Attributes() const {
  std::vector<std::string> names = AllNames();
  if (Exists(path_)) names.emplace_back(".");
  std::set<std::string> attributes;
  for (std::string name : names) {
    const struct stat status = StatusOf(PathOf(name));
    name.erase(std::remove_if(name.begin(), name.end(), ::isdigit), name.end());
    name += ' ' + std::to_string(status.st_uid) + ':' + std::to_string(status.st_gid) + ' ';
    for (const unsigned shift : {9U, 6U, 3U, 0U})
      name += static_cast<char>('0' + ((status.st_mode >> shift) & 7));
    attributes.insert(name);
  }
  return attributes;
}

std::string FaultHost::HeldLock() const {
  for (const std::string& name : AllNames()) {
    if (name.ends_with(".lock") && !MayBeLocked(PathOf(name))) return name + " is still locked";
  }
  return "";
}

std::string FaultHost::SurplusMapping(bool ofPresentFiles) const {
  std::ifstream maps("/proc/self/maps");
  std::map<std::string, int> counts;
  for (std::string line; std::getline(maps, line);) {
    const std::size_t at = line.find(temporary_.path());
    if (at == std::string::npos) continue;
    const std::string file = line.substr(at);
    if (ofPresentFiles && file.ends_with("(deleted)")) return file + " is still mapped";
    const std::string name = std::filesystem::path(file).filename();
    if (++counts[name.substr(0, name.find(' '))] > 1) return file + " is mapped besides another";
  }
  return "";
}

std::vector<std::string> OpenDescriptors() {
  return NamesIn("/proc/self/fd");
}

}  // namespace StressTest
