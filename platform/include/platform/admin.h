// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Administration of the stand-alone platform: which directory a process uses, the feature
// switches, and what is on disk. For tools; the library needs none of it.
#ifndef PLATFORM_ADMIN_H_
#define PLATFORM_ADMIN_H_

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "brisk/exception.h"
#include "platform/export.h"

namespace HostPlatform {

// The host directory of this process: the one last given to UseHostDirectory(), otherwise
// QUOR_HOST_DIR as it was when the platform was loaded (ignored in set-uid programs), otherwise
// /var/lib/quor.
PLATFORM_API std::string HostDirectory();

// Points this process at another host directory and maps its feature switches. Nothing is created.
// To be called while no other thread is inside the platform; meant for the start of a program. A
// directory that cannot be used is no error here: calls say so, and GetFeature() tells why its
// switches are not in use.
PLATFORM_API void UseHostDirectory(const std::string& path);

// How long a writer waits for the host's locks, in milliseconds: what was last given here,
// otherwise QUOR_LOCK_TIMEOUT_MS as it was when the platform was loaded (ignored in set-uid
// programs and where it is no whole number), otherwise 30000. A new value holds for every wait that
// begins afterwards, in all threads of this process.
PLATFORM_API std::uint32_t LockTimeout();
PLATFORM_API void UseLockTimeout(std::uint32_t milliseconds);

// Where the value of the feature switches comes from.
struct FeatureState {
  bool on = false;      // what calls of this process obey
  bool mapped = false;  // the host's `features` file, or what OverrideFeature() has set; otherwise
                        // the built-in default
  std::string path;     // of the `features` file
  std::string problem;  // why that file is not in use; empty when it is, or when there is none
};

// The switch as this process sees it now. `index` from 0 to kFeatureCount - 1; others raise
// std::out_of_range.
PLATFORM_API FeatureState GetFeature(int index);

// Sets the switch for the whole host, durably; running processes see it at their next call, those
// that were started before there was a `features` file at the call after that: the next one makes
// them look for it.
// Creates the host directory and the `features` file when they are missing. Raises
// std::system_error that names the path, with nothing changed, when the process may not write;
// std::out_of_range as GetFeature() does.
PLATFORM_API void SetFeature(int index, bool on);

// Sets the switch for this process alone, until the next UseHostDirectory(); flips by others are
// not seen meanwhile. To be called while no other thread is inside the platform; meant for tools
// that look at both stores. Raises std::out_of_range as GetFeature() does.
PLATFORM_API void OverrideFeature(int index, bool on);

// The number of stored objects of one kind.
struct StoredKind {
  std::string component;      // whose
  std::string group;          // of keys
  std::string key;            // what
  std::uint64_t objects = 0;  // how many, damaged ones included
};

// A file that holds records.
struct StoredFile {
  std::string path;           // absolute
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
  std::vector<StoredKind> kinds;  // in the order of their first commit; of one commit, by name
};

// Reads the state without a lock; raises nothing but std::bad_alloc.
PLATFORM_API ConfigStoreState GetConfigStoreState();

// The same for the configuration file.
PLATFORM_API StoredFile GetConfigFileState();

// The lock by which the writers of one of the two stores take turns.
struct LockState : StoredFile {
  bool held = false;   // at the moment of looking
  std::string holder;  // who holds it: "process 4711 (quorctl)", a reader without the name
};

// The locks of the configuration store and of the configuration file, looked at without taking
// them. A process that may not open a lock file is told so by `problem`. Raises nothing but
// std::bad_alloc.
PLATFORM_API std::vector<LockState> GetLockStates();

// Appends a part to a file that is being written.
using AppendPart = std::function<void(std::string_view part)>;

// Writes `content` to a new file in the directory `folder` of the host directory, durably. The file
// is called by a number, one above the highest there, with `suffix` behind it. File and directory
// are made like those of the host, 0640 and 2750 with the host directory's owner and group. Callers
// take turns by a lock in the folder. Returns the number. Raises std::system_error that names the
// path: when the folder is a symbolic link, belongs to somebody else than the host directory, this
// process or root, or may be written by everybody; when there is no higher number; and as the
// system says. No such file is made then, unless the message says that it is in place and only the
// flush of the directory failed.
//
// A content that need not be in memory at once is written by `write`, which is called while the
// lock is held; where it raises no file is made either.
PLATFORM_API std::uint64_t AddNumberedFile(const std::string& folder, const std::string& suffix,
                                           std::string_view content);
PLATFORM_API std::uint64_t AddNumberedFile(const std::string& folder, const std::string& suffix,
                                           const std::function<void(const AppendPart&)>& write);

// Whether a service raised this because the process may not read or write what it needs to, or
// because another user could have planted it.
PLATFORM_API bool IsPermissionFailure(const Brisk::Lib::BriskException& failure);

}  // namespace HostPlatform

#endif  // PLATFORM_ADMIN_H_
