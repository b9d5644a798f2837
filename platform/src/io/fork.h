// Fork at any moment: the mutexes that a child must find free.
//
// A mutex that another thread holds at the fork would stay locked in the child for ever. The two
// here are taken around every fork, so each guards a few instructions only and is never held while
// waiting for anything. Order: descriptors first.
#ifndef PLATFORM_SRC_IO_FORK_H_
#define PLATFORM_SRC_IO_FORK_H_

#include <mutex>

namespace HostPlatform::Io {

// Called once, when the platform is loaded; the C library forgets the handlers when it is unloaded.
void RegisterForkHandlers();

// Guards the list of open descriptors; see FileDescriptor.
std::mutex& DescriptorMutex();

// Guards what the process keeps of the newest stored files; see configstore/snapshot_cache.h and
// configfile/document_cache.h.
std::mutex& CacheMutex();

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_IO_FORK_H_
