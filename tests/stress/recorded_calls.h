// The system calls that change files, recorded while they are carried out.
//
// Linked into a program, they take the place of the C library's. Nothing is recorded but between
// Record() and Recorded(), and only what happens to files that are created meanwhile and to the
// directories they are in. Flushes do not wait for the disk.
#ifndef TESTS_STRESS_RECORDED_CALLS_H_
#define TESTS_STRESS_RECORDED_CALLS_H_

#include <cstddef>
#include <string>
#include <vector>

namespace StressTest {

struct FileOperation {
  enum class Kind { kCreate, kWrite, kCut, kFlush, kFlushDirectory, kRename, kRemove, kMark };

  Kind kind;
  int file = -1;           // which one, counted from 0 in the order of creation
  std::string name;        // last component: created, removed, or renamed from
  std::string newName;     // renamed to
  std::size_t offset = 0;  // of what is written; of kCut the size that is left
  std::string bytes;       // what is written
  int mark = 0;            // what Mark() was given
};

void Record();
// Notes a moment between two calls.
void Mark(int mark);
// Ends it; what was done, in order.
std::vector<FileOperation> Recorded();

}  // namespace StressTest

#endif  // TESTS_STRESS_RECORDED_CALLS_H_
