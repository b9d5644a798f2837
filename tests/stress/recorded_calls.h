// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The system calls that change files, recorded while they are carried out.
//
// Linked into a program, they take the place of the C library's. Nothing is recorded but between
// Record() and Recorded(), and only what happens to files and directories below one directory that
// are created meanwhile. Flushes do not wait for the disk.
#ifndef TESTS_STRESS_RECORDED_CALLS_H_
#define TESTS_STRESS_RECORDED_CALLS_H_

#include <cstddef>
#include <string>
#include <vector>

namespace StressTest {

struct FileOperation {
  enum class Kind {
    kCreate,
    kMakeDirectory,
    kWrite,
    kCut,
    kFlush,
    kFlushDirectory,
    kRename,
    kRemove,
    kMark
  };

  Kind kind;
  int file = -1;           // which one, counted from 0 in the order of creation
  std::string name;        // path: created, removed, renamed from, or a directory that is flushed
  std::string newName;     // renamed to
  std::size_t offset = 0;  // of what is written; of kCut the size that is left
  std::string bytes;       // what is written
  int mark = 0;            // what Mark() was given
};

// Paths are those below `root`, which itself is "".
void Record(const std::string& root);
// Notes a moment between two calls.
void Mark(int mark);
// Ends it; what was done, in order.
std::vector<FileOperation> Recorded();

}  // namespace StressTest

#endif  // TESTS_STRESS_RECORDED_CALLS_H_
