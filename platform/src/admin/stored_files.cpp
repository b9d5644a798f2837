// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// State of the two host stores on disk, for tools.
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>

#include <cerrno>
#include <optional>
#include <system_error>
#include <vector>

#include "errors/error.h"
#include "os/call_scope.h"
#include "os/file_lock.h"
#include "os/host_paths.h"
#include "platform/admin.h"
#include "store/snapshot.h"
#include "tavconfigstore/exception.h"
#include "tree/document.h"
#include "zynctl/exception.h"

namespace HostPlatform {
namespace {

std::string UserName(uid_t uid) {
  std::vector<char> buffer(16384);
  struct passwd entry;
  struct passwd* found = nullptr;
  const int error = getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found);
  return error == 0 && found != nullptr ? found->pw_name : std::to_string(uid);
}

std::string GroupName(gid_t gid) {
  std::vector<char> buffer(16384);
  struct group entry;
  struct group* found = nullptr;
  const int error = getgrgid_r(gid, &entry, buffer.data(), buffer.size(), &found);
  return error == 0 && found != nullptr ? found->gr_name : std::to_string(gid);
}

// `result` is the return value of the stat() call.
void Describe(int result, const struct stat& status, StoredFile* state) {
  if (result != 0) {
    const int error = errno;  // only ENOENT means that the file is missing
    if (error != ENOENT) {
      state->problem = state->path + ": cannot examine: " + std::generic_category().message(error);
    }
    return;
  }
  state->exists = true;
  state->size = static_cast<std::uint64_t>(status.st_size);
  state->owner = UserName(status.st_uid);
  state->group = GroupName(status.st_gid);
  state->mode = status.st_mode & 07777;
  state->modified = status.st_mtim.tv_sec;
}

void CountObjects(const TavConfigStore::Snapshot& snapshot, ConfigStoreState* state) {
  for (const auto& stored : snapshot.kinds()) {
    StoredKind kind;
    kind.component = stored.parts.component;
    kind.group = stored.parts.group;
    kind.key = stored.parts.key;
    kind.objects = stored.count;
    state->kinds.push_back(std::move(kind));
  }
}

LockState LookAtLock(const char* path) {
  LockState state;
  state.path = path;
  struct stat status;
  Describe(lstat(path, &status), status, &state);
  try {
    const std::optional<std::string> holder = Io::HolderOf(path);
    state.held = holder.has_value();
    state.holder = holder.value_or("");
  } catch (const Io::Error& error) {
    state.problem = error.what();
  }
  return state;
}

}  // namespace

std::vector<LockState> GetLockStates() {
  const Io::CallScope scope;
  return {LookAtLock(Io::ConfigStoreLockPath()), LookAtLock(Io::ConfigFileLockPath())};
}

ConfigStoreState GetConfigStoreState() {
  const Io::CallScope scope;
  ConfigStoreState state;
  state.path = Io::ConfigStorePath();
  struct stat status;
  Describe(lstat(state.path.c_str(), &status), status, &state);
  try {
    if (const auto snapshot = TavConfigStore::Snapshot::Open(state.path)) {
      CountObjects(*snapshot, &state);
      snapshot->CheckPages();
    }
  } catch (const TavConfigStore::ConfigStoreException& failure) {
    state.problem = failure.what();
  }
  return state;
}

StoredFile GetConfigFileState() {
  const Io::CallScope scope;
  StoredFile state;
  state.path = Io::ConfigFilePath();
  struct stat status;
  Describe(stat(state.path.c_str(), &status), status, &state);
  try {
    ZynCtl::Config::Document::Read(state.path, nullptr);
  } catch (const ZynCtl::Config::ConfigFileException& failure) {
    state.problem = failure.what();
  }
  return state;
}

}  // namespace HostPlatform
