// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A file system on which chosen bytes of a file cannot be read, as on a disk with bad blocks.
#ifndef TESTS_STRESS_FAILING_DISK_H_
#define TESTS_STRESS_FAILING_DISK_H_

#include <sys/types.h>

#include <atomic>
#include <string>

#include "support/shared.h"

namespace StressTest {

// Shows a directory in another place, by FUSE: a process of its own answers the kernel. Reads of
// the file that is named, where they touch bytes from `begin` to before `end`, fail with EIO.
class FailingDisk {
 public:
  // Whether this machine has FUSE, and lets this process mount.
  static bool IsPossible();

  FailingDisk(const std::string& directory, const std::string& mountPoint, const std::string& file);
  FailingDisk(const FailingDisk&) = delete;
  FailingDisk& operator=(const FailingDisk&) = delete;
  ~FailingDisk();

  // From now on; the kernel forgets what it has of the file.
  void Fail(off_t begin, off_t end);
  void Heal() { Fail(0, 0); }

  struct BadBlocks {
    std::atomic<off_t> begin{0};
    std::atomic<off_t> end{0};
    std::atomic<long> refused{0};
  };
  // How many reads have failed.
  long refused() const { return blocks_->refused; }

 private:
  void Start(const std::string& directory);
  void ForgetPages() const;

  std::string mountPoint_;
  std::string file_;
  PlatformTest::Shared<BadBlocks> blocks_;
  pid_t server_ = -1;
};

}  // namespace StressTest

#endif  // TESTS_STRESS_FAILING_DISK_H_
