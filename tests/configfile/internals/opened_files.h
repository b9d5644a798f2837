// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Counts what the process opens and reads, by functions in place of the C library's.
#ifndef TESTS_CONFIGFILE_INTERNALS_OPENED_FILES_H_
#define TESTS_CONFIGFILE_INTERNALS_OPENED_FILES_H_

#include <functional>
#include <string>
#include <vector>

namespace ConfigFileTest {

struct Opened {
  std::vector<std::string> names;  // without directories
  long bytesRead = 0;
};

// What the call opens through openat() and reads through pread(), in this thread.
Opened OpenedBy(const std::function<void()>& call);

// While it lives, stat() and fstat() give times without fractions, as on a file system that keeps
// none. One at a time.
class WholeSeconds {
 public:
  WholeSeconds();
  WholeSeconds(const WholeSeconds&) = delete;
  WholeSeconds& operator=(const WholeSeconds&) = delete;
  ~WholeSeconds();
};

}  // namespace ConfigFileTest

#endif  // TESTS_CONFIGFILE_INTERNALS_OPENED_FILES_H_
