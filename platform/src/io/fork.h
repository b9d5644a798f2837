// Fork at any moment: the mutexes that a child must find free.
//
// A mutex that another thread holds at the fork would stay locked in the child for ever. Those here
// are taken around every fork, so none is held while waiting for anything, and all but the parser's
// guard a few instructions only. Order: the parser first, then descriptors, then the places of the
// caches as they are numbered.
#ifndef PLATFORM_SRC_IO_FORK_H_
#define PLATFORM_SRC_IO_FORK_H_

#include <mutex>

namespace HostPlatform::Io {

// Called once, when the platform is loaded; the C library forgets the handlers when it is unloaded.
void RegisterForkHandlers();

// Guards the parser of the configuration file; see document_parser.cpp.
std::mutex& ParserMutex();

// Guards the list of open descriptors; see FileDescriptor.
std::mutex& DescriptorMutex();

// Each guards one place of what the process keeps of the newest stored files; see newest.h.
inline constexpr unsigned kCachePlaces = 8;
std::mutex& CacheMutex(unsigned place);
// The place of the processor that the caller runs on, as far as that is known.
unsigned CachePlace();

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_IO_FORK_H_
