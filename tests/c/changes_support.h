// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The descriptor of changes, for tests.
#ifndef TESTS_C_CHANGES_SUPPORT_H_
#define TESTS_C_CHANGES_SUPPORT_H_

#include <poll.h>

#include <string>

#include "support.h"

namespace CTest {

class Noticed {
 public:
  // Of the directory that the test's calls use.
  Noticed() : Noticed(HostPlatform::HostDirectory()) {}
  explicit Noticed(const std::string& directory) {
    quor_error* error;
    EXPECT_EQ(quor_changes_open(directory.c_str(), &changes_, &error), QUOR_OK)
        << Failure(error).message;
  }
  Noticed(const Noticed&) = delete;
  Noticed& operator=(const Noticed&) = delete;
  ~Noticed() { quor_changes_close(changes_); }

  quor_changes* get() const { return changes_; }
  int descriptor() const { return quor_changes_descriptor(changes_); }

  // Whether it gets readable within that time.
  bool Waits(int milliseconds) const {
    pollfd one = {descriptor(), POLLIN, 0};
    return poll(&one, 1, milliseconds) == 1;
  }
  unsigned Read() const {
    unsigned changed;
    EXPECT_EQ(quor_changes_read(changes_, &changed, nullptr), QUOR_OK);
    return changed;
  }
  // Reads until a second and a half have gone by without anything.
  void Settle() const {
    while (Waits(1500)) {
      Read();
    }
  }
  std::string Fallback() const { return quor_changes_fallback(changes_); }
  unsigned Digests() const {
    unsigned which;
    EXPECT_EQ(quor_changes_digests(changes_, &which, nullptr), QUOR_OK);
    return which;
  }

 private:
  quor_changes* changes_ = nullptr;
};

}  // namespace CTest

#endif  // TESTS_C_CHANGES_SUPPORT_H_
