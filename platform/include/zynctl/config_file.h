// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The host configuration file: a locked tree of branches, arrays of branches, and values.
//
//   SynchronizedConfigFile locked;
//   std::shared_ptr<ConfigBranch> branch = locked.file->GetBranch("/Quor/Policy-Info");
//   branch->RemoveAllChildren();
//   branch->GetArray("policy")->NewInstance()->SetValue("name", "Gold");
//   locked.file->Write();
//
// On disk it is one JSON document: branches are objects, arrays are arrays of objects, values are
// strings. A value of any bytes comes back as it was. What belongs to other programs is kept, in
// its order.
//
// Lock. The file is locked, against every process and thread, from the construction of the
// SynchronizedConfigFile to its destruction; a lock that is not free within the deadline (30 s, or
// QUOR_LOCK_TIMEOUT_MS) raises. A process that may not write the lock file reads the newest
// committed tree without a lock, which can neither harm nor delay a writer, and is refused when it
// changes anything; so does one on a host where nothing was ever written, where a reader creates
// nothing: its first change takes the lock.
//
// Changes are made to a private copy of the branches that are touched. Write() replaces the file
// durably; what was not written is gone at the unlock.
//
// Threads and fork. A session and its handles are used by one thread at a time; sessions of
// different threads wait for each other. A child process holds no lock of its parent; changing
// anything through a session that was opened before the fork raises.
//
// Failures are raised as ConfigFileException, and memory that runs out as std::bad_alloc; the file
// is as it was then.
#ifndef ZYNCTL_CONFIG_FILE_H_
#define ZYNCTL_CONFIG_FILE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/export.h"
#include "zynctl/exception.h"

namespace ZynCtl {
namespace Config {

class ConfigArray;

// The library's own, defined in its sources.
struct Node;
class Session;

// Where a handle is in the tree of its session, which keeps every handle alive.
struct Place {
  // The index of a place that has a name.
  static constexpr std::size_t kNamed = static_cast<std::size_t>(-1);

  Session* session = nullptr;     // whose tree it is
  const Place* parent = nullptr;  // null: the root of the tree
  std::string_view name;          // in a branch; the session keeps the characters
  std::size_t index = kNamed;     // in an array
  // What is there; null when nothing is. Out of date when `version` is not the session's.
  mutable const Node* node = nullptr;
  mutable std::uint64_t version = 0;  // of the session's tree when `node` was looked up
};

// A branch of the tree, or an instance of an array. Usable while its session is open.
class PLATFORM_API ConfigBranch {
 public:
  // The array of that name; one that is absent is empty, and is created when the session is
  // changing this branch. Raises when the name is taken by something else.
  std::shared_ptr<ConfigArray> GetArray(const std::string& name);

  // Copies the value to `*value` and returns true. Returns false and leaves `*value` as it is when
  // it is absent or null. A number or boolean reads as its text. Raises when it is a branch or an
  // array.
  bool GetValue(const std::string& key, std::string* value) const;

  // The same for a whole decimal number of up to 64 bits, signed or unsigned, reduced modulo 2^32:
  // what was written from a number in the signed 32-bit range comes back as it was. Other text
  // reads as absent.
  bool GetValue(const std::string& key, int* value) const;

  // Sets the value, in place of one that has the key already. Raises when the key is taken by a
  // branch or an array.
  void SetValue(const std::string& key, const std::string& value);
  void SetValue(const std::string& key, std::string&& value);
  void SetValue(const std::string& key, std::uint64_t value);  // as decimal text

  // Removes every value, branch and array below this branch. Handles to them must not be used any
  // more: they stand for what is put in their place later.
  void RemoveAllChildren();

  // Made by a session: for a place, and for the item of an array.
  explicit ConfigBranch(const Place& place);
  ConfigBranch(Session* session, const Place* array, std::size_t index, const Node* item,
               std::uint64_t version);
  ConfigBranch(const ConfigBranch&) = delete;
  ConfigBranch& operator=(const ConfigBranch&) = delete;
  ~ConfigBranch();  // NOLINT(performance-trivially-destructible): another platform's may hold more

 private:
  friend class ConfigFile;
  Place place_;
};

// An array of branches. Usable while its session is open.
class PLATFORM_API ConfigArray {
 public:
  // A new, empty instance at the end.
  std::shared_ptr<ConfigBranch> NewInstance();

  // The instances in their order. Raises when an item is not a branch.
  std::vector<std::shared_ptr<ConfigBranch>> GetInstances();

  explicit ConfigArray(const Place& place);  // made by a session
  ConfigArray(const ConfigArray&) = delete;
  ConfigArray& operator=(const ConfigArray&) = delete;
  ~ConfigArray();  // NOLINT(performance-trivially-destructible): another platform's may hold more

 private:
  Place place_;
};

// The file in a session: what a SynchronizedConfigFile points to.
class PLATFORM_API ConfigFile {
 public:
  // The branch at a path like "/Quor/Policy-Info"; one that is absent is empty, and is created by
  // the first change in it. Raises when the path leads through something that is no branch.
  std::shared_ptr<ConfigBranch> GetBranch(const std::string& path);

  // Replaces the file by the tree as the session sees it, durably.
  void Write();

  // Ends the session; this object is gone then. Raises nothing.
  void Unlock();

 private:
  friend class SynchronizedConfigFile;
  ConfigFile();
  ~ConfigFile();

  std::shared_ptr<Session> session_;
};

// Locks the host configuration file for as long as it lives.
class PLATFORM_API SynchronizedConfigFile {
 public:
  // Locks. Raises when the lock is not free within the deadline or the file cannot be read.
  SynchronizedConfigFile();
  SynchronizedConfigFile(const SynchronizedConfigFile&) = delete;
  SynchronizedConfigFile& operator=(const SynchronizedConfigFile&) = delete;
  // Unlocks; what was not written is gone.
  ~SynchronizedConfigFile();

  ConfigFile* file = nullptr;  // never null
};

}  // namespace Config
}  // namespace ZynCtl

#endif  // ZYNCTL_CONFIG_FILE_H_
