// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Files that are opened where the numbers of the standard streams are free.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

#include "faults/system_calls.h"
#include "io/file_descriptor.h"
#include "support/child_process.h"

namespace PlatformTest {
namespace {

using HostPlatform::Io::FileDescriptor;

bool IsOpen(int fd) {
  return fcntl(fd, F_GETFD) >= 0;
}

// What keeps the free numbers is a call to open(), which fails when the system has no more files
// for a moment.
TEST(Descriptors, AreAboveTheStandardStreamsAlsoWhereTheirNumbersCannotBeKept) {
  RunInChild([] {
    close(STDIN_FILENO);
    int refused = 0;
    Watch([&](const SystemCall& call) {
      const bool keepsNumber = call.name == "open" && call.path.empty();
      refused += keepsNumber ? 1 : 0;
      return keepsNumber ? ENFILE : 0;
    });
    const FileDescriptor file(AT_FDCWD, "/proc/self/maps", O_RDONLY);
    Stop();
    EXPECT_EQ(refused, 1);
    EXPECT_GT(file.get(), STDERR_FILENO);
    EXPECT_NE(fcntl(file.get(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_FALSE(IsOpen(STDIN_FILENO));
  });
}

}  // namespace
}  // namespace PlatformTest
