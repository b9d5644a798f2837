// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Exclusive lock of the writers of one stored file.
//
// An open-file-description lock on a separate lock file, which is never removed. It belongs to the
// descriptor: closing the file elsewhere in the process does not drop it, two threads exclude each
// other like two processes, and the kernel releases it when the process dies. A forked child closes
// its copy without unlocking.
//
// Waiting is fair: a waiter locks the gate byte, then the data byte, then unlocks the gate, so that
// callers that lock in a loop cannot starve it. A free lock is taken by one call for both bytes.
//
// Behind the data byte the holder locks as many bytes as its process number says, which tells
// waiters who it is. Whoever changes something writes the program's name into the file too.
#ifndef PLATFORM_SRC_OS_FILE_LOCK_H_
#define PLATFORM_SRC_OS_FILE_LOCK_H_

#include <chrono>
#include <optional>
#include <string>

#include "os/directory.h"
#include "os/file_descriptor.h"
#include "os/fork.h"

namespace HostPlatform::Io {

// How long a lock is waited for; see platform/admin.h.
std::chrono::milliseconds LockDeadline();

class FileLock {
 public:
  // Locks `name` in the directory; creates it (0600) if missing. Raises Error: kBusy, with the
  // holder's name, if the lock is not free within the deadline, or if the file is removed or
  // replaced again and again; kInsecure if it is not a plain file of root, this user or the
  // directory's owner.
  FileLock(const Directory& directory, const char* name, std::chrono::milliseconds deadline);

  // For a reader that may become a writer: locks the file at `path` if it exists and this process
  // may write it; otherwise holds and creates nothing. A writer calls BeginChange() next. Raises
  // Error: kBusy, kInsecure, and other failures of the system.
  FileLock(const std::string& path, std::chrono::milliseconds deadline);

  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  ~FileLock();

  // To be called before a change. False if the file was removed or replaced meanwhile, so that the
  // lock excludes nobody.
  bool BeginChange();

  // False if nothing is held, as in a child of the process that took the lock.
  bool HeldByThisProcess() const {
    FollowFork();
    return file_.has_value() && *file_;
  }

 private:
  using Clock = std::chrono::steady_clock;

  // `directory` is what `name_` is relative to.
  bool OpenExisting(int directory, bool guarded = true);
  void Create(const Directory& directory);
  bool MakeAccessible(const Directory& directory);
  void Finish(const Directory& directory) const;
  bool Lock(int directory, Clock::time_point giveUp, std::chrono::milliseconds deadline);
  void CheckLockFile();
  bool TakeTurn(Clock::time_point giveUp, std::chrono::milliseconds deadline);
  void Wait(off_t byte, off_t count, Clock::time_point giveUp, std::chrono::milliseconds deadline);
  bool TryLock(off_t byte, off_t count);
  void Unlock() const;
  bool IsNamed(int directory) const;
  void WriteHolder();

  std::string path_;
  std::string name_;  // how the file is opened
  std::optional<FileDescriptor> file_;
  struct stat status_ = {};
  bool changes_ = false;  // the holder's name is in the file
};

// Tests the lock without taking it. Returns the holder, "process 4711 (quorctl)", or without the
// name if it only reads; nullopt if the lock is free or has no file. Raises Error if the file
// cannot be opened.
std::optional<std::string> HolderOf(const std::string& path);

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_OS_FILE_LOCK_H_
