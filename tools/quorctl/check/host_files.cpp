// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "check/host_files.h"

#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

#include "check/stored_content.h"
#include "exit_status.h"
#include "history.h"
#include "host_backend.h"
#include "interrupted_change.h"
#include "platform/admin.h"

namespace Quorctl {

using HostPlatform::LockState;

namespace {

constexpr int kLooks = 10;
constexpr auto kPauseBetweenLooks = std::chrono::milliseconds(100);

// Room for a change besides the new store itself: the lock files, the entry of the history.
constexpr std::uint64_t kSpareRoom = 1 << 20;

// The directory that the file system is asked about; of one that is not there the nearest above.
std::string NearestDirectory(std::filesystem::path path) {
  std::error_code ignored;
  while (!std::filesystem::is_directory(path, ignored) && path.has_relative_path())
    path = path.parent_path();
  return path;
}

}  // namespace

void CheckSwitches(Findings* findings) {
  const HostPlatform::FeatureState state = BackendSwitch();
  try {
    ExpectReadable(state);
  } catch (const CommandError& failure) {
    if (failure.status() == ExitStatus::kPermission) throw;
    findings->push_back(
        {Severity::kError, state.path,
         std::string("cannot be used, so every call that reaches a store is refused: ") +
             failure.what(),
         "restore it from a backup, or remove it and choose with \"quorctl switch\""});
    UseBackend(state.on);  // what is stored can be judged all the same
  }
}

// A writer holds its lock for a moment; one that holds it at every look is stuck or very slow.
void CheckLocks(Findings* findings) {
  std::vector<LockState> locks = HostPlatform::GetLockStates();
  for (int look = 1; look < kLooks; ++look) {
    const bool anyHeld =
        std::any_of(locks.begin(), locks.end(), [](const LockState& lock) { return lock.held; });
    if (!anyHeld) break;
    std::this_thread::sleep_for(kPauseBetweenLooks);
    const std::vector<LockState> now = HostPlatform::GetLockStates();
    for (std::size_t i = 0; i < locks.size(); ++i) {
      if (locks[i].held) locks[i] = now[i];
    }
  }
  for (const LockState& lock : locks) {
    if (lock.held) {
      findings->push_back(
          {Severity::kWarning, lock.path,
           "has been held for a second by " + lock.holder + ", and writers wait for it",
           "wait for that process; end it when it is stuck"});
    } else if (!lock.problem.empty()) {
      findings->push_back({Severity::kInfo, lock.path,
                           "whether it is held cannot be told: " + lock.problem,
                           "ask as the owner of the host directory"});
    }
  }
}

void CheckFreeSpace(Findings* findings) {
  const std::string directory = NearestDirectory(HostPlatform::HostDirectory());
  struct statvfs system;
  if (statvfs(directory.c_str(), &system) != 0) {
    throw std::system_error(errno, std::generic_category(),
                            directory + ": cannot tell how much room there is");
  }
  if ((system.f_flag & ST_RDONLY) != 0) {
    findings->push_back({Severity::kWarning, directory,
                         "its file system is mounted read-only, so no change can be made",
                         "mount it for writing; the system's log may say why it is not"});
  }
  // A change needs room for the new content beside the old, and for the old in the history.
  const std::uint64_t largest =
      std::max(HostPlatform::GetConfigStoreState().size, HostPlatform::GetConfigFileState().size);
  const std::uint64_t needed = 2 * largest + kSpareRoom;
  const std::uint64_t blocks = geteuid() == 0 ? system.f_bfree : system.f_bavail;
  const std::uint64_t available = blocks * system.f_frsize;
  if (available < needed) {
    findings->push_back({Severity::kWarning, directory,
                         std::to_string(available) +
                             " bytes are free on its disk; a change may "
                             "need " +
                             std::to_string(needed),
                         "make room"});
  }
  if (system.f_files > 0 && system.f_ffree < 4) {
    findings->push_back({Severity::kWarning, directory, "no more files can be created on its disk",
                         "remove files there"});
  }
}

void CheckInterrupted(Findings* findings) {
  for (const HistoryEntry& entry : ListInterrupted()) {
    findings->push_back(
        {Severity::kError, entry.path, DescribeInterrupted(entry), AdviceOnInterrupted(entry)});
  }
}

void CheckHistory(Findings* findings) {
  for (const HistoryEntry& entry : ListHistory()) {
    try {
      ReadHistoryEntry(entry);
    } catch (const CommandError& failure) {
      if (failure.status() == ExitStatus::kPermission) throw;
      const bool wrong = failure.status() == ExitStatus::kBadInput;
      findings->push_back({Severity::kWarning, entry.path,
                           std::string("cannot be restored: ") + failure.what(),
                           wrong ? "move it away" : "look why it cannot be read"});
    }
  }
}

void CheckFiles(Findings* findings) {
  CheckModesAndOwners(findings);
  CheckSwitches(findings);
  CheckLocks(findings);
  CheckFreeSpace(findings);
  CheckConfigStore(findings);
  CheckConfigFile(findings);
  CheckInterrupted(findings);
  CheckHistory(findings);
}

}  // namespace Quorctl
