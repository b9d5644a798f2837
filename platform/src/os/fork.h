// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Safety of fork at any moment, also in a signal handler that interrupted a call of the platform.
//
// No lock is taken around a fork. A child may inherit mutexes locked by threads that it does not
// have, and guarded state that is half changed. Its first call constructs such mutexes anew; the
// owner of the state detects a torn change by itself (newest.h). A page that
// the kernel wipes at fork tells the child that it is one, also after _Fork() and clone(), which
// run no fork handlers.
#ifndef PLATFORM_SRC_OS_FORK_H_
#define PLATFORM_SRC_OS_FORK_H_

#include <atomic>
#include <mutex>

namespace HostPlatform::Io {

// Called once, at load time. The C library removes the handlers when the platform is unloaded.
void RegisterForkHandlers();

// Constructs inherited mutexes anew if the process was forked since the last call; otherwise costs
// one load. The functions below that return a mutex call it.
void FollowFork();

// Fork epoch: number of forks between the process that loaded the platform and this one, of those
// in which the platform was called.
unsigned Generation();

// This process's number, without a system call.
int ProcessNumber();

// Guards the state of the `features` file (feature_page.cpp). Locked before OpeningMutex().
std::mutex& FeaturesMutex();

// Held while a file is opened; see FileDescriptor.
std::mutex& OpeningMutex();

// Each guards one shard of the version caches (newest.h).
inline constexpr unsigned kCachePlaces = 8;
std::mutex& CacheMutex(unsigned place);
// Shard of the caller's present processor; 0 if unknown.
unsigned CachePlace();

// Detects a fork() during its lifetime: a child may hold a copy of a file opened meanwhile.
class ForkWatch {
 public:
  ForkWatch();
  bool SawFork() const;

 private:
  unsigned begun_;
  bool quiet_;
};

// Waits until no fork() is under way, at most a tenth of a second.
void WaitForForks();

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_OS_FORK_H_
