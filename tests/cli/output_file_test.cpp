// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The file that quorctl writes for --out, where the disk does not take it.
#include "output_file.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "faults/system_calls.h"
#include "support/temporary_directory.h"

namespace QuorctlTest {
namespace {

using PlatformTest::NamesIn;
using PlatformTest::ReadFile;
using PlatformTest::SystemCall;

class OutputFile : public testing::Test {
 protected:
  // What is raised when flushes fail with that.
  std::string ReplaceWithoutFlush(int error) const {
    std::string message;
    PlatformTest::Watch(
        [error](const SystemCall& call) { return call.name == "fsync" ? error : 0; });
    try {
      Quorctl::ReplaceFile(path_, "new");
    } catch (const std::system_error& failure) {
      message = failure.what();
    }
    PlatformTest::Stop();
    return message;
  }

  PlatformTest::TemporaryDirectory directory_;
  std::string path_ = directory_.PathOf("blob");
};

TEST_F(OutputFile, IsTheOldOneWhenTheNewOneCannotBeFlushed) {
  PlatformTest::WriteFile(path_, "old");
  EXPECT_EQ(ReplaceWithoutFlush(EIO), "cannot write all of " + path_ + ": Input/output error");
  EXPECT_EQ(ReadFile(path_), "old");
  EXPECT_EQ(NamesIn(directory_.path()), std::vector<std::string>{"blob"});
}

TEST_F(OutputFile, ThatKnowsNoFlushIsWritten) {
  for (const int error : {EINVAL, EROFS, 0}) {
    PlatformTest::WriteFile(path_, "old");
    EXPECT_EQ(ReplaceWithoutFlush(error), "");
    EXPECT_EQ(ReadFile(path_), "new");
  }
}

}  // namespace
}  // namespace QuorctlTest
