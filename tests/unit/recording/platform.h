// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A host platform that remembers and misbehaves.
//
// The unit tests link the library's own objects with this platform: it keeps its objects in memory,
// logs every call of the library in order as one line of text, lets a test raise from any call to
// the configuration store or to the configuration file, and counts what the library still holds.
#ifndef TESTS_UNIT_RECORDING_PLATFORM_H_
#define TESTS_UNIT_RECORDING_PLATFORM_H_

#include <functional>
#include <iosfwd>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "recording/file_tree.h"
#include "tavconfigstore/object_id.h"

namespace Recording {

using Value = std::variant<std::string, long long>;
using Values = std::map<std::string, Value>;
using Lines = std::vector<std::string>;

struct StoredSubObject {
  std::string name;
  std::string instance;
  Values values;
  bool operator==(const StoredSubObject&) const = default;
};

struct StoredObject {
  std::string key;
  std::string group;
  std::string component;
  std::string instance;
  Values values;
  std::vector<StoredSubObject> subObjects;
  bool operator==(const StoredObject&) const = default;
};

using StoredSet = std::vector<StoredObject>;

struct Platform {
  StoredSet stored;   // the configuration store's committed state, in the order of first write
  FileTree file;      // the configuration file, as of the last Write()
  FileTree openFile;  // what the open session of the file sees, its own changes included
  Lines log;          // every platform call, in order
  int storeCalls = 0;
  int fileCalls = 0;

  // Runs in every call to the store or to the file, after it was logged and before it has any
  // effect. `call` counts both kinds from 1. Whatever it raises is what the call raises.
  std::function<void(int call, const std::string& line)> duringStoreCall;

  // Runs in StrPrintf() and StrCat().
  std::function<void()> duringFormatting;

  // Whether a call to Base64 fails; `call` counts from 1.
  std::function<bool(int call)> base64Fails;
  int base64Calls = 0;

  int utilityResult = 0;  // added to what CryptoHash_ComputeMD5() and Str_Sprintf() return

  int liveHandles = 0;
  int liveObjects = 0;
  int droppedTransactions = 0;  // open when their handle was released

  int locks = 0;  // of the file
  int unlocks = 0;
  int nestedLocks = 0;  // taken while another was held
  int liveFileHandles = 0;
  int handlesHeldAtUnlock = 0;
  Lines releases;  // handles to the file as they were released, and each Unlock()
};

Platform& ThePlatform();

// Empties the store, the file and the log, removes every fault and sets the switch of the
// configuration store. What is alive stays counted.
void RestartPlatform();

// Sets entry 62 of the feature switches, and every other entry to the opposite, so that reading a
// wrong one is noticed.
void SetConfigStoreSwitch(unsigned char value);

// Logs a call that cannot fail.
void LogCall(std::string line);

// Logs a call to the store, or to the file, and lets the test raise from it.
void LogStoreCall(const std::string& line);
void LogFileCall(const std::string& line);

// `bytes` in double quotes, with everything but printable ASCII as \xNN.
std::string Quoted(std::string_view bytes);

// "key/group/component", followed by the instance unless that is empty.
std::string Label(const TavConfigStore::ConfigStoreObjectId& id);
std::string Label(const TavConfigStore::SubObjectId& id);

// For the messages of failed assertions.
void PrintTo(const StoredSubObject& subObject, std::ostream* out);
void PrintTo(const StoredObject& object, std::ostream* out);

}  // namespace Recording

#endif  // TESTS_UNIT_RECORDING_PLATFORM_H_
