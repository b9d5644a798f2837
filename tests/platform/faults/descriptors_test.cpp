// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Files that are opened where the numbers of the standard streams are free.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <list>
#include <vector>

#include "faults/system_calls.h"
#include "os/file_descriptor.h"
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
    const FileDescriptor file(AT_FDCWD, "/proc/self/maps", O_RDONLY, 0, true);
    Stop();
    EXPECT_EQ(refused, 1);
    EXPECT_GT(file.get(), STDERR_FILENO);
    EXPECT_NE(fcntl(file.get(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_FALSE(IsOpen(STDIN_FILENO));
  });
}

TEST(Descriptors, ThatAreNotGuardedAreAboveTheStandardStreamsToo) {
  RunInChild([] {
    for (int number = 0; number <= STDERR_FILENO; ++number)
      close(number);
    const FileDescriptor file(AT_FDCWD, "/proc/self/maps", O_RDONLY, 0, false);
    EXPECT_GT(file.get(), STDERR_FILENO);
    EXPECT_NE(fcntl(file.get(), F_GETFD) & FD_CLOEXEC, 0);
    for (int number = 0; number <= STDERR_FILENO; ++number)
      EXPECT_FALSE(IsOpen(number));
  });
}

// A child that is forked beside calls closes what they have open, however much that is.
TEST(Descriptors, HoweverManyAreClosedInAChild) {
  constexpr std::size_t kMany = 200;
  std::list<FileDescriptor> files;
  for (std::size_t i = 0; i < kMany; ++i) {
    files.emplace_back(AT_FDCWD, "/proc/self/maps", O_RDONLY);
    ASSERT_TRUE(files.back()) << i;
  }
  std::vector<int> numbers;
  for (const FileDescriptor& file : files) {
    numbers.push_back(file.get());
  }
  ASSERT_EQ(std::count_if(numbers.begin(), numbers.end(), IsOpen), kMany);
  RunInChild([&] {
    FileDescriptor::CloseAllInChild();
    EXPECT_EQ(std::count_if(numbers.begin(), numbers.end(), IsOpen), 0);
    EXPECT_EQ(std::count_if(files.begin(), files.end(), [](const auto& file) { return !file; }),
              kMany);
  });
  EXPECT_EQ(std::count_if(numbers.begin(), numbers.end(), IsOpen), kMany);
}

}  // namespace
}  // namespace PlatformTest
