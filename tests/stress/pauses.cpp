// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "pauses.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <random>

#define IN_PLACE_OF_THE_C_LIBRARY extern "C" __attribute__((visibility("default")))

namespace StressTest {
namespace {

constexpr useconds_t kLongestPause = 100;  // microseconds, about as long as a short commit

thread_local bool pausing = false;
thread_local std::minstd_rand randomNumber;

// As often none.
void Pause() {
  if (!pausing) return;
  const int error = errno;
  switch (randomNumber() / 16 % 4) {
    case 0:
      sched_yield();
      break;
    case 1:
      usleep(static_cast<useconds_t>(randomNumber() / 16 % kLongestPause));
      break;
    default:
      break;
  }
  errno = error;
}

int Look(const char* path, struct stat* status, int flags) {
  const auto result = static_cast<int>(syscall(SYS_newfstatat, AT_FDCWD, path, status, flags));
  Pause();
  return result;
}

}  // namespace

void PauseInCalls(std::uint64_t seed) {
  pausing = true;
  randomNumber.seed(static_cast<std::minstd_rand::result_type>(seed));
}

}  // namespace StressTest

IN_PLACE_OF_THE_C_LIBRARY int fsync(int /*fd*/) {
  StressTest::Pause();
  return 0;
}

IN_PLACE_OF_THE_C_LIBRARY int fdatasync(int /*fd*/) {
  StressTest::Pause();
  return 0;
}

IN_PLACE_OF_THE_C_LIBRARY int stat(const char* path, struct stat* status) noexcept {
  return StressTest::Look(path, status, 0);
}

IN_PLACE_OF_THE_C_LIBRARY int lstat(const char* path, struct stat* status) noexcept {
  return StressTest::Look(path, status, AT_SYMLINK_NOFOLLOW);
}

IN_PLACE_OF_THE_C_LIBRARY int renameat(int fromDirectory, const char* from, int toDirectory,
                                       const char* to) noexcept {
  StressTest::Pause();
  return static_cast<int>(syscall(SYS_renameat2, fromDirectory, from, toDirectory, to, 0));
}
