// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What the recording platform's configuration file holds.
#ifndef TESTS_UNIT_RECORDING_FILE_TREE_H_
#define TESTS_UNIT_RECORDING_FILE_TREE_H_

#include <iosfwd>
#include <list>
#include <map>
#include <string>

namespace Recording {

struct FileBranch;
using FileArray = std::list<FileBranch>;  // instances stay where they are when others are added

struct FileBranch {
  std::map<std::string, std::string> values;
  std::map<std::string, FileArray> arrays;
  bool operator==(const FileBranch&) const = default;
};

using FileTree = std::map<std::string, FileBranch>;  // by the path given to GetBranch()

// For the messages of failed assertions.
void PrintTo(const FileBranch& branch, std::ostream* out);

}  // namespace Recording

#endif  // TESTS_UNIT_RECORDING_FILE_TREE_H_
