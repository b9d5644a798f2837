// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Fork at any moment, also in a signal handler that has interrupted one of our own calls.
//
// Nothing is locked around a fork. The child finds mutexes locked by threads that it does not have,
// and what they guard half changed. It makes the mutexes anew at its first call, and each owner of
// guarded state tells by itself whether a change of it was under way (newest.h,
// document_parser.cpp). That the process is another one is told by a page that the system wipes at
// a fork, so that also a child of _Fork() or clone(), which run no fork handlers, knows it.
#ifndef PLATFORM_SRC_IO_FORK_H_
#define PLATFORM_SRC_IO_FORK_H_

#include <atomic>
#include <mutex>

namespace HostPlatform::Io {

// Called once, when the platform is loaded; the C library forgets the handlers when it is unloaded.
void RegisterForkHandlers();

// Makes the mutexes anew when the process was forked since the last call. Mostly one load. The
// functions below that return a mutex call it.
void FollowFork();

// How many forks there are between the process and the one that loaded the platform; only those
// that FollowFork() has noticed.
unsigned Generation();

// Guards the parser of the configuration file; see document_parser.cpp.
std::mutex& ParserMutex();

// Guards what is known of the file in the page of switches; see feature_page.cpp. Taken before the
// one of opening.
std::mutex& FeaturesMutex();

// Held while a file is opened; see FileDescriptor.
std::mutex& OpeningMutex();

// Each guards one place of what the process keeps of the newest stored files; see newest.h.
inline constexpr unsigned kCachePlaces = 8;
std::mutex& CacheMutex(unsigned place);
// The place of the processor that the caller runs on, as far as that is known.
unsigned CachePlace();

// Tells whether a fork() was under way at any time of its life: a child may have a copy of what was
// opened meanwhile.
class ForkWatch {
 public:
  ForkWatch();
  bool SawFork() const;

 private:
  unsigned begun_;
  bool quiet_;
};

// Returns when no fork() is under way, or after a tenth of a second.
void WaitForForks();

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_IO_FORK_H_
