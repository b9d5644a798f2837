// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The host directory of the fault loop: brought into a known state before each round, and looked at
// for what a round has left behind.
#ifndef TESTS_STRESS_FAULT_HOST_H_
#define TESTS_STRESS_FAULT_HOST_H_

#include <map>
#include <set>
#include <string>
#include <vector>

#include "fault_catalogue.h"
#include "support/temporary_directory.h"

namespace StressTest {

// What an operation finds.
enum class Start {
  kKnown,           // the stored catalogue, which this process has read already
  kUnknown,         // the same, which it has to read
  kLeftOver,        // the same, with a temporary that a killed writer left
  kUnmapped,        // the same, with feature switches that it has yet to map
  kEmptyDirectory,  // a host directory of another user, and nothing in it
  kNoDirectory,
};

std::string NameOf(Start start);

class FaultHost {
 public:
  // `store` is "store" or "file". Writes the catalogue there.
  FaultHost(const std::string& store, const Catalogue& catalogue);

  // Makes the directory as it is to be found and points the process at it.
  void Prepare(Start start);
  // What the process knows of the stored catalogue is out of date.
  void Touch() const;

  // Of the directory that was prepared last.
  const std::string& path() const { return path_; }
  std::string PathOf(const std::string& name) const { return path_ + '/' + name; }
  std::string DataPath() const { return PathOf(dataName_); }

  // Temporaries in the directory and its folder.
  std::vector<std::string> Temporaries() const;
  // Names, owners and modes of all that is there. Digits of names are left out: how many numbered
  // files there are makes no difference.
  std::set<std::string> Attributes() const;
  // Why a lock file cannot be locked from elsewhere; empty when all can.
  std::string HeldLock() const;
  // Why there are more mappings than the one of each file that a process keeps; empty when there
  // are not. `ofPresentFiles`: not of files either that were replaced or removed.
  std::string SurplusMapping(bool ofPresentFiles) const;

  static constexpr char kFolder[] = "history";

 private:
  struct SavedFile {
    std::string content;
    struct stat status;
  };

  void Save(const std::string& name);
  void Restore();
  void RestoreFile(const std::string& name, SavedFile* saved) const;
  void MakeFresh(bool withDirectory);
  std::vector<std::string> AllNames() const;

  PlatformTest::TemporaryDirectory temporary_;
  bool inFile_;
  std::string dataName_;
  std::string written_;  // the directory with the catalogue
  std::string fresh_;    // the one without
  std::string path_;
  std::map<std::string, SavedFile> saved_;
};

// The process's descriptors.
std::vector<std::string> OpenDescriptors();

}  // namespace StressTest

#endif  // TESTS_STRESS_FAULT_HOST_H_
