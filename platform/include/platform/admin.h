// Administration of the stand-alone platform: which directory a process uses, the feature
// switches, and what is on disk. For tools; the library needs none of it.
#ifndef PLATFORM_ADMIN_H_
#define PLATFORM_ADMIN_H_

#include <cstdint>
#include <string>
#include <vector>

#include "platform/export.h"

namespace HostPlatform {

// The host directory of this process: the one last given to UseHostDirectory(), otherwise
// QUOR_HOST_DIR as it was when the platform was loaded (ignored in set-uid programs), otherwise
// /var/lib/quor.
PLATFORM_API std::string HostDirectory();

// Points this process at another host directory and maps its feature switches. Nothing is created.
// To be called while no other thread is inside the platform; meant for the start of a program.
PLATFORM_API void UseHostDirectory(const std::string& path);

// How long a writer waits for the host's locks, in milliseconds: what was last given here,
// otherwise QUOR_LOCK_TIMEOUT_MS as it was when the platform was loaded (ignored in set-uid
// programs and where it is no whole number), otherwise 30000.
PLATFORM_API std::uint32_t LockTimeout();
PLATFORM_API void UseLockTimeout(std::uint32_t milliseconds);

// Where the value of the feature switches comes from.
struct FeatureState {
  bool on = false;
  bool mapped = false;  // the host's `features` file; otherwise the built-in default
  std::string path;     // of the `features` file
  std::string problem;  // why that file is not in use; empty when it is, or when there is none
};

// The switch as this process sees it now. `index` from 0 to kFeatureCount - 1; others raise
// std::out_of_range.
PLATFORM_API FeatureState GetFeature(int index);

// Sets the switch for the whole host, durably; running processes see it at their next call.
// Creates the host directory and the `features` file when they are missing. Raises
// std::system_error that names the path, with nothing changed, when the process may not write.
PLATFORM_API void SetFeature(int index, bool on);

// Sets the switch for this process alone, until the next UseHostDirectory(); flips by others are
// not seen meanwhile. To be called while no other thread is inside the platform; meant for tools
// that look at both stores.
PLATFORM_API void OverrideFeature(int index, bool on);

// The number of stored objects of one kind.
struct StoredKind {
  std::string component;
  std::string group;
  std::string key;
  std::uint64_t objects = 0;
};

// A file that holds records.
struct StoredFile {
  std::string path;
  bool exists = false;        // false: nothing was ever written
  std::uint64_t size = 0;     // bytes
  std::string owner;          // user name, or number
  std::string group;          // group name, or number
  std::uint32_t mode = 0;     // permission bits
  std::int64_t modified = 0;  // seconds since the epoch
  std::string problem;        // why it cannot be read; empty when it can
};

// What the configuration store has on disk: its newest snapshot.
struct ConfigStoreState : StoredFile {
  std::vector<StoredKind> kinds;
};

// Reads the state without a lock; raises nothing but std::bad_alloc.
PLATFORM_API ConfigStoreState GetConfigStoreState();

// The same for the configuration file.
PLATFORM_API StoredFile GetConfigFileState();

}  // namespace HostPlatform

#endif  // PLATFORM_ADMIN_H_
