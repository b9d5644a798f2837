// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Fork at any moment: the mutexes that a child must find free.
//
// A mutex that another thread holds at the fork would stay locked in the child for ever. Those here
// are taken around every fork, so they are held for a few instructions and system calls only, and
// nothing is allocated or given back meanwhile: a program's own allocator may have a lock, and take
// it around forks too. Order: descriptors first, then the places of the caches as they are
// numbered.
//
// The parser's mutex is held for as long as a document takes. It is left alone, and a child gets a
// new one. Only while the parser is made, once, do forks wait: what its library makes on first use
// would never be finished in a child that was forked meanwhile.
#ifndef PLATFORM_SRC_IO_FORK_H_
#define PLATFORM_SRC_IO_FORK_H_

#include <mutex>

namespace HostPlatform::Io {

// Called once, when the platform is loaded; the C library forgets the handlers when it is unloaded.
void RegisterForkHandlers();

// Guards the parser of the configuration file; see document_parser.cpp.
std::mutex& ParserMutex();
// Held while the first parser is made; taken before the others.
std::mutex& MakingMutex();

// How many forks there are between the process and the one that loaded the platform.
unsigned Generation();

// Guards what is known of the file in the page of switches; see feature_page.cpp. Taken before the
// one of descriptors.
std::mutex& FeaturesMutex();

// Guards the list of open descriptors; see FileDescriptor.
std::mutex& DescriptorMutex();

// Each guards one place of what the process keeps of the newest stored files; see newest.h.
inline constexpr unsigned kCachePlaces = 8;
std::mutex& CacheMutex(unsigned place);
// The place of the processor that the caller runs on, as far as that is known.
unsigned CachePlace();

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_IO_FORK_H_
