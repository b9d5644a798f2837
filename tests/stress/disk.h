// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A directory, with those in it, on a disk that keeps what was flushed, and of the rest what it
// likes.
//
// Of changes that were not flushed any may be on the disk and any not, whatever their order: each
// sector of 512 bytes of a write on its own, each size that the file has had, each name that was
// made, moved or removed; of a move, both of its halves on their own. With a directory goes what is
// in it.
#ifndef TESTS_STRESS_DISK_H_
#define TESTS_STRESS_DISK_H_

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "recorded_calls.h"

namespace StressTest {

// Content by path; that of a directory ends with a slash.
using FilesOnDisk = std::map<std::string, std::string>;

// Which of the changes that were not flushed a loss of power leaves on the disk.
struct Survival {
  std::function<bool()> sector;
  std::function<bool()> name;
  // One of the sizes that the file has had since its flush, by index; the last one is the newest.
  std::function<std::size_t(std::size_t count)> size;
};

class Disk {
 public:
  void Apply(const FileOperation& operation);
  FilesOnDisk AfterLossOfPower(const Survival& survival) const;

 private:
  struct File {
    std::string flushed;
    std::string present;
    std::vector<FileOperation> changes;  // since the flush
  };
  struct NameChange {
    std::string name;
    int file;  // or one of these:
  };
  static constexpr int kRemoved = -1;
  static constexpr int kDirectory = -2;
  using Names = std::map<std::string, int>;

  static void Change(const NameChange& change, Names* names);
  static std::string Survivor(const File& file, const Survival& survival);
  void ChangeName(const std::string& name, int file);
  void FlushDirectory(const std::string& path);

  std::vector<File> files_;
  Names flushedNames_;
  Names presentNames_;
  std::vector<NameChange> nameChanges_;  // since the flush
};

}  // namespace StressTest

#endif  // TESTS_STRESS_DISK_H_
