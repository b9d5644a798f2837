// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Where the stress programs keep their files.
#ifndef TESTS_STRESS_PLACE_H_
#define TESTS_STRESS_PLACE_H_

#include <unistd.h>

#include <cstdlib>
#include <string>

#include "support/temporary_directory.h"

namespace StressTest {

// In memory, unless TMPDIR says where: a file system on a disk waits for it in every rename.
inline std::string PlaceForFiles() {
  const char kInMemory[] = "/dev/shm";
  const bool isFree = std::getenv("TMPDIR") == nullptr && access(kInMemory, W_OK | X_OK) == 0;
  return isFree ? kInMemory : PlatformTest::PlacesForTemporaries().front();
}

}  // namespace StressTest

#endif  // TESTS_STRESS_PLACE_H_
