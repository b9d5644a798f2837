// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What a replacement does in which order, and what another process meets meanwhile.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include "faults/system_calls.h"
#include "io/directory.h"
#include "io/error.h"
#include "io/file_replacement.h"
#include "support/child_process.h"
#include "support/host_test.h"

namespace PlatformTest {
namespace {

using HostPlatform::Io::Directory;
using HostPlatform::Io::FileReplacement;

constexpr char kName[] = "some.file";

// The calls that make something durable, with their files; "" for the temporary.
Texts DurableStepsOf(const std::vector<SystemCall>& calls) {
  Texts steps;
  for (const SystemCall& call : calls) {
    const bool isTemporary = call.path.find(".new-") != std::string::npos;
    if (call.name == "fsync" || call.name == "rename")
      steps.push_back(call.name + ' ' + (isTemporary ? "" : call.path));
  }
  return steps;
}

class Replacement : public HostTest {
 protected:
  Replacement() : directory_(HostPath()) { WriteFile(PathOf(kName), "old"); }

  void Write(const FileReplacement& next) const {
    HostPlatform::Io::WriteAll(next.file(), "new", next.path());
  }

  Directory directory_;
};

// Who looks at the old file once more does so between the two, and the flush is slow.
TEST_F(Replacement, ThatWasFlushedIsOnlyRenamedByTheCommit) {
  FileReplacement next(directory_, kName, 0640);
  Write(next);
  Watch();
  next.Flush();
  EXPECT_EQ(DurableStepsOf(Stop()), Texts{"fsync "});
  EXPECT_EQ(ReadFile(PathOf(kName)), "old");
  std::vector<std::string> names;
  Watch([&names](const SystemCall& call) {
    names.push_back(call.name);
    return 0;
  });
  next.Commit();
  EXPECT_EQ(DurableStepsOf(Stop()), (Texts{"rename some.file", "fsync host"}));
  EXPECT_EQ(names, (Texts{"rename", "fsync"})) << "and nothing else is done in between";
  EXPECT_EQ(ReadFile(PathOf(kName)), "new");
}

TEST_F(Replacement, ThatWasNotFlushedIsFlushedByTheCommit) {
  FileReplacement next(directory_, kName, 0640);
  Write(next);
  Watch();
  next.PutInPlace();
  EXPECT_EQ(DurableStepsOf(Stop()), (Texts{"fsync ", "rename some.file"}));
  EXPECT_EQ(ReadFile(PathOf(kName)), "new");
}

TEST_F(Replacement, ThatWasFlushedAndIsGivenUpLeavesTheOldFileAndNothingElse) {
  {
    FileReplacement next(directory_, kName, 0640);
    Write(next);
    next.Flush();
  }
  EXPECT_EQ(ReadFile(PathOf(kName)), "old");
  EXPECT_EQ(NamesIn(HostPath()), Texts{kName});
}

// Without a random number the name follows from the process's own, which others know.
TEST_F(Replacement, WritesThroughNoLinkThatWasPlantedAtAForeseeableName) {
  const std::string victim = temporary_.PathOf("victim");
  WriteFile(victim, "untouched");
  char digits[17];
  std::snprintf(digits, sizeof digits, "%016lx", static_cast<unsigned long>(getpid()));
  const std::string planted = PathOf(std::string(".some.file.new-") + digits);
  for (const auto plant : {&symlink, &link}) {
    ASSERT_EQ(plant(victim.c_str(), planted.c_str()), 0);
    Watch([](const SystemCall& call) { return call.name == "getrandom" ? EAGAIN : 0; });
    EXPECT_THROW(Write(FileReplacement(directory_, kName, 0640)), HostPlatform::Io::Error);
    Stop();
    EXPECT_EQ(ReadFile(victim), "untouched");
    ASSERT_EQ(unlink(planted.c_str()), 0);
  }
}

// Not at those that are made with one of the library's mutexes held, which a fork waits for.
bool MayForkAt(const SystemCall& call) {
  return call.name != "open" && call.name != "fstat" && call.name != "access";
}

TEST_F(Replacement, LeavesNoDescriptorToAChildThatIsForkedAtAnyOfItsCalls) {
  WriteFile(PathOf(".some.file.new-0123456789abcdef"), "left over");
  Texts forkedAt;
  Watch([&](const SystemCall& call) {
    if (!MayForkAt(call)) return 0;
    forkedAt.push_back(call.name);
    RunInChild([&] { EXPECT_EQ(OpenBelow(HostPath()), Texts{}) << call.name; });
    return 0;
  });
  {
    FileReplacement next(directory_, kName, 0640);
    Write(next);
    next.Commit();
  }
  Stop();
  for (const char* name : {"getdents64", "write", "flistxattr", "fchmod", "fsync", "rename"})
    EXPECT_NE(std::find(forkedAt.begin(), forkedAt.end(), name), forkedAt.end()) << name;
  EXPECT_EQ(NamesIn(HostPath()), Texts{kName});
}

}  // namespace
}  // namespace PlatformTest
