// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The exclusive lock by which the writers of one stored file take turns.
//
// An open-file-description lock on a lock file of its own, which is never removed. It belongs to
// this object's descriptor: a stray close() of the file elsewhere in the process does not drop it,
// two threads exclude each other like two processes, and the system releases it when the process
// dies. A forked child closes its copy without unlocking.
//
// Waiting is fair: a waiter takes the gate byte first, then the data byte, then gives the gate
// back, so that callers that lock in a loop cannot starve it. Where nobody waits and nobody holds
// the lock, both bytes are taken at once.
#ifndef PLATFORM_SRC_IO_FILE_LOCK_H_
#define PLATFORM_SRC_IO_FILE_LOCK_H_

#include <chrono>
#include <optional>
#include <string>

#include "io/directory.h"
#include "io/file_descriptor.h"
#include "io/fork.h"

namespace HostPlatform::Io {

// How long a lock is waited for; see platform/admin.h.
std::chrono::milliseconds LockDeadline();

class FileLock {
 public:
  // Locks `name` in the directory, creating it (0600) when it is missing. Raises Error: kBusy, with
  // the holder's name, when it is not free within the deadline, or when somebody keeps removing or
  // replacing the file; kInsecure when the lock file is not a plain file of root, this user or the
  // directory's owner.
  FileLock(const Directory& directory, const char* name, std::chrono::milliseconds deadline);

  // Locks the file at `path` when it is there and this process may write it. Otherwise nothing is
  // held, and nothing is created. Raises Error: kBusy, kInsecure, and what else the system says.
  FileLock(const std::string& path, std::chrono::milliseconds deadline);

  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  ~FileLock();

  // False when nothing is held, as in a child of the process that took the lock.
  bool HeldByThisProcess() const {
    FollowFork();
    return file_.has_value() && *file_;
  }

 private:
  using Clock = std::chrono::steady_clock;

  // `directory` is what `name_` is relative to.
  bool OpenExisting(int directory);
  void Create(const Directory& directory);
  bool MakeAccessible(const Directory& directory);
  void Finish(const Directory& directory) const;
  bool Lock(int directory, Clock::time_point giveUp, std::chrono::milliseconds deadline);
  void CheckLockFile(const struct stat& status) const;
  void TakeTurn(Clock::time_point giveUp, std::chrono::milliseconds deadline);
  void Wait(off_t byte, Clock::time_point giveUp, std::chrono::milliseconds deadline);
  bool TryLock(off_t byte, off_t count);
  void Unlock() const;
  bool IsNamed(int directory, const struct stat& held) const;
  void WriteHolder();

  std::string path_;
  std::string name_;  // how the file is opened
  std::optional<FileDescriptor> file_;
};

// Looks at the lock without taking it: who holds it, as the lock file tells; nothing when nobody
// does or there is no lock file. Raises Error when the file cannot be opened.
std::optional<std::string> HolderOf(const std::string& path);

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_IO_FILE_LOCK_H_
