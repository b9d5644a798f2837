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

#include "errors/error.h"
#include "faults/system_calls.h"
#include "os/directory.h"
#include "os/file_replacement.h"
#include "support/child_process.h"
#include "support/host_test.h"
#include "support/needs.h"

namespace PlatformTest {
namespace {

using HostPlatform::Io::Directory;
using HostPlatform::Io::FileReplacement;

constexpr char kFileName[] = "some.file";

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
  Replacement() : directory_(HostPath()) { WriteFile(PathOf(kFileName), "old"); }

  void Write(const FileReplacement& next) const {
    HostPlatform::Io::WriteAll(next.file(), "new", next.path());
  }

  Directory directory_;
};

// Who looks at the old file once more does so between the two, and the flush is slow.
TEST_F(Replacement, ThatWasFlushedIsOnlyRenamedByTheCommit) {
  FileReplacement next(directory_, kFileName, 0640);
  Write(next);
  Watch();
  next.Flush();
  EXPECT_EQ(DurableStepsOf(Stop()), Texts{"fsync "});
  EXPECT_EQ(ReadFile(PathOf(kFileName)), "old");
  std::vector<std::string> names;
  Watch([&names](const SystemCall& call) {
    names.push_back(call.name);
    return 0;
  });
  next.Commit();
  EXPECT_EQ(DurableStepsOf(Stop()), (Texts{"rename some.file", "fsync host"}));
  EXPECT_EQ(names, (Texts{"rename", "fsync"})) << "and nothing else is done in between";
  EXPECT_EQ(ReadFile(PathOf(kFileName)), "new");
}

TEST_F(Replacement, ThatWasNotFlushedIsFlushedByTheCommit) {
  FileReplacement next(directory_, kFileName, 0640);
  Write(next);
  Watch();
  next.PutInPlace();
  EXPECT_EQ(DurableStepsOf(Stop()), (Texts{"fsync ", "rename some.file"}));
  EXPECT_EQ(ReadFile(PathOf(kFileName)), "new");
}

TEST_F(Replacement, ThatWasFlushedAndIsGivenUpLeavesTheOldFileAndNothingElse) {
  {
    FileReplacement next(directory_, kFileName, 0640);
    Write(next);
    next.Flush();
  }
  EXPECT_EQ(ReadFile(PathOf(kFileName)), "old");
  EXPECT_EQ(NamesIn(HostPath()), Texts{kFileName});
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
    Watch([](const SystemCall& call) {
      if (call.name == "getdents64") return EIO;  // so that it is not swept
      return call.name == "getrandom" ? EAGAIN : 0;
    });
    {
      FileReplacement next(directory_, kFileName, 0640);
      Write(next);
      next.Commit();
    }
    Stop();
    EXPECT_EQ(ReadFile(PathOf(kFileName)), "new");
    EXPECT_EQ(ReadFile(victim), "untouched");
    ASSERT_EQ(unlink(planted.c_str()), 0);
  }
}

// A process of the same number was killed.
TEST_F(Replacement, IsNotKeptFromItsNameByATemporaryThatIsLeftOver) {
  char digits[17];
  std::snprintf(digits, sizeof digits, "%016lx", static_cast<unsigned long>(getpid()));
  WriteFile(PathOf(std::string(".some.file.new-") + digits), "left over");
  Watch([](const SystemCall& call) { return call.name == "getrandom" ? ENOSYS : 0; });
  {
    FileReplacement next(directory_, kFileName, 0640);
    Write(next);
    next.Commit();
  }
  Stop();
  EXPECT_EQ(ReadFile(PathOf(kFileName)), "new");
  EXPECT_EQ(NamesIn(HostPath()), Texts{kFileName});
}

// A filter of system calls refuses what would change nothing.
TEST_F(Replacement, GoesOnWhereAFilterRefusesTheRemovalOfAnAccessListThatIsNotThere) {
  for (const int error : {EPERM, EACCES}) {
    Watch([&](const SystemCall& call) { return call.name == "fremovexattr" ? error : 0; });
    FileReplacement next(directory_, kFileName, 0640);
    Write(next);
    EXPECT_NO_THROW(next.Commit());
    Stop();
  }
  EXPECT_EQ(ReadFile(PathOf(kFileName)), "new");
}

// Root without CAP_CHOWN, in a container say.
TEST_F(Replacement, GoesOnWithoutTheRightToGiveFilesAwayWhereNoneIsGivenAway) {
  for (const char* name : {kFileName, "another.file"}) {
    Watch([](const SystemCall& call) { return call.name == "fchown" ? EPERM : 0; });
    FileReplacement next(directory_, name, 0640);
    Write(next);
    EXPECT_NO_THROW(next.Commit());
    Stop();
    EXPECT_EQ(ReadFile(PathOf(name)), "new");
  }
}

TEST_F(Replacement, RefusesToTakeAFileFromItsOwnerWithoutTheRightToGiveFilesAway) {
  Machine::NeedRoot();
  ASSERT_EQ(chown(PathOf(kFileName).c_str(), kStranger, kReaders), 0);
  Watch([](const SystemCall& call) { return call.name == "fchown" ? EPERM : 0; });
  {
    FileReplacement next(directory_, kFileName, 0640);
    Write(next);
    EXPECT_THROW(next.Commit(), HostPlatform::Io::Error);
  }
  Stop();
  EXPECT_EQ(ReadFile(PathOf(kFileName)), "old");
  EXPECT_EQ(NamesIn(HostPath()), Texts{kFileName});
}

// Not while a file is opened, of which the child may have a copy.
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
    FileReplacement next(directory_, kFileName, 0640);
    Write(next);
    next.Commit();
  }
  Stop();
  for (const char* name : {"getdents64", "write", "flistxattr", "fchmod", "fsync", "rename"})
    EXPECT_NE(std::find(forkedAt.begin(), forkedAt.end(), name), forkedAt.end()) << name;
  EXPECT_EQ(NamesIn(HostPath()), Texts{kFileName});
}

}  // namespace
}  // namespace PlatformTest
