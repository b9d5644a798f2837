// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The host directory and the folders in it while the system refuses something.
#include <dlfcn.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <string>
#include <system_error>
#include <utility>

#include "errors/error.h"
#include "faults/system_calls.h"
#include "os/directory.h"
#include "support/child_process.h"
#include "support/host_test.h"
#include "support/needs.h"

namespace PlatformTest {
namespace {

// What the system says of a group when it is asked with a buffer of so many bytes.
using GroupLookUp = std::function<int(std::size_t room, struct group* entry, struct group** found)>;
GroupLookUp theLookUp;

}  // namespace
}  // namespace PlatformTest

// In the place of the C library's.
extern "C" __attribute__((visibility("default"))) int getgrnam_r(const char* name,
                                                                 struct group* resultbuf,
                                                                 char* buffer, std::size_t buflen,
                                                                 struct group** result) {
  *result = nullptr;
  if (PlatformTest::theLookUp && std::strcmp(name, "quor") == 0) {
    return PlatformTest::theLookUp(buflen, resultbuf, result);
  }
  const auto real = reinterpret_cast<decltype(&getgrnam_r)>(dlsym(RTLD_NEXT, "getgrnam_r"));
  return real(name, resultbuf, buffer, buflen, result);
}

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes
using HostPlatform::Io::Directory;
using HostPlatform::Io::Error;
using HostPlatform::Io::ErrorKind;

// Only root gives a directory to a group.
class GroupOfTheHost : public HostTest {
 protected:
  GroupOfTheHost() { Machine::NeedRoot(); }
  ~GroupOfTheHost() override { theLookUp = nullptr; }

  static int Found(struct group* entry, struct group** found) {
    entry->gr_gid = kReaders;
    *found = entry;
    return 0;
  }
};

TEST_F(GroupOfTheHost, IsFoundWhateverTheSizeOfItsEntry) {
  theLookUp = [](std::size_t room, struct group* entry, struct group** found) {
    return room < 100'000 ? ERANGE : Found(entry, found);
  };
  const Directory directory(HostPath());
  EXPECT_EQ(StatusOf(HostPath()).st_gid, kReaders);
  EXPECT_EQ(ModeOf(HostPath()), 02750U);
}

TEST_F(GroupOfTheHost, IsAskedForAgainAfterAnInterruption) {
  bool again = false;
  theLookUp = [&](std::size_t, struct group* entry, struct group** found) {
    again = !again;
    return again ? EINTR : Found(entry, found);
  };
  const Directory directory(HostPath());
  EXPECT_EQ(StatusOf(HostPath()).st_gid, kReaders);
}

TEST_F(GroupOfTheHost, IsNotThereWhenTheSystemSaysSoInOneOfItsWays) {
  for (const int error : {0, ENOENT, ESRCH, EBADF, EPERM}) {
    theLookUp = [error](std::size_t, struct group*, struct group**) { return error; };
    const Directory directory(HostPath());
    EXPECT_EQ(StatusOf(HostPath()).st_gid, getegid()) << error;
    ASSERT_EQ(rmdir(HostPath().c_str()), 0);
  }
}

// Otherwise the host's readers would be locked out for good by a moment's failure.
TEST_F(GroupOfTheHost, ThatCannotBeLookedUpIsAnErrorAndNothingIsMade) {
  for (const int error : {EIO, EMFILE, ENOMEM, ERANGE}) {
    theLookUp = [error](std::size_t, struct group*, struct group**) { return error; };
    std::string message;
    EXPECT_EQ(CodeOf([] { Put(OpenStore(), "a", "new"); }, &message), kIoError) << error;
    EXPECT_NE(message.find(HostPath()), std::string::npos) << message;
    EXPECT_FALSE(Exists(HostPath()));
  }
}

// A look-up can take long: a directory that only its maker may enter must not wait for it.
TEST_F(GroupOfTheHost, IsLookedUpBeforeTheDirectoryIsMade) {
  int lookUps = 0;
  theLookUp = [&](std::size_t, struct group* entry, struct group** found) {
    ++lookUps;
    EXPECT_FALSE(Exists(HostPath()));
    return Found(entry, found);
  };
  const Directory directory(HostPath());
  EXPECT_EQ(lookUps, 1);
}

using FlushedDirectory = HostTest;

// Some file systems cannot: nothing more can be done there.
TEST_F(FlushedDirectory, ThatKnowsNoFlushIsNoFailure) {
  const std::string parent = temporary_.path().substr(temporary_.path().rfind('/') + 1);
  Watch([&parent](const SystemCall& call) {
    const bool isDirectory = call.path == "host" || call.path == parent;
    return call.name == "fsync" && isDirectory ? EINVAL : 0;
  });
  const CSErrorCodes code = WriteCode();
  Stop();
  EXPECT_EQ(code, kNothing);
}

TEST_F(FlushedDirectory, FileThatCannotBeFlushedIsAFailureWhateverTheReason) {
  Put(OpenStore(), "a", "old");
  Watch([](const SystemCall& call) {
    return call.name == "fsync" && call.path != "host" ? EINVAL : 0;
  });
  const CSErrorCodes code = CodeOf([] { Put(OpenStore(), "a", "new"); });
  Stop();
  EXPECT_EQ(code, kIoError);
  EXPECT_EQ(Get(OpenStore(), "a"), "old");
}

class NumberedFolder : public HostTest {
 protected:
  static std::uint64_t Add() { return HostPlatform::AddNumberedFile("folder", ".txt", "content"); }
};

TEST_F(NumberedFolder, ThatCannotBeFlushedIsAnInputOutputErrorThatSaysWhatIsInPlace) {
  Add();
  std::error_code code;
  std::string message;
  Watch([](const SystemCall& call) {
    return call.name == "fsync" && call.path == "folder" ? EIO : 0;
  });
  try {
    Add();
  } catch (const std::system_error& failure) {
    code = failure.code();
    message = failure.what();
  }
  Stop();
  EXPECT_EQ(code, std::errc::io_error);
  EXPECT_NE(message.find(PathOf("folder")), std::string::npos) << message;
  EXPECT_NE(message.find("flush the directory: Input/output error"), std::string::npos) << message;
  EXPECT_NE(message.find("the new content is in place"), std::string::npos) << message;
  EXPECT_TRUE(Exists(PathOf("folder/2.txt")));
}

// With a part of the names a number would be given twice.
TEST_F(NumberedFolder, ThatCannotBeListedGetsNoFile) {
  Add();
  std::size_t listed = 0;
  Watch([&](const SystemCall& call) {
    return call.name == "getdents64" && ++listed == 2 ? EIO : 0;  // the second part of the list
  });
  EXPECT_THROW(Add(), std::system_error);
  Stop();
  EXPECT_EQ(NamesIn(PathOf("folder")), (Texts{".lock", "1.txt"}));
}

TEST_F(NumberedFolder, LeavesNoDescriptorToAChildThatIsForkedWhileItIsListed) {
  Add();
  bool made = false;
  int forks = 0;
  Watch([&](const SystemCall& call) {
    made = made || call.path.find(".new-") != std::string::npos;
    if (call.name != "getdents64" || made) return 0;
    ++forks;
    RunInChild([this] { EXPECT_EQ(OpenBelow(HostPath()), Texts{}); });
    return 0;
  });
  Add();
  Stop();
  EXPECT_GT(forks, 0);
}

TEST(ErrorsForTools, SayOfWhichKindTheyAre) {
  const std::pair<ErrorKind, std::errc> expected[] = {
      {ErrorKind::kBusy, std::errc::device_or_resource_busy},
      {ErrorKind::kNoSpace, std::errc::no_space_on_device},
      {ErrorKind::kPermissionDenied, std::errc::permission_denied},
      {ErrorKind::kInsecure, std::errc::permission_denied},
      {ErrorKind::kOther, std::errc::io_error}};
  for (const auto& [kind, code] : expected) {
    try {
      HostPlatform::Io::RaiseToTools(Error(kind, "/path: what happened"));
    } catch (const std::system_error& failure) {
      EXPECT_EQ(failure.code(), code) << failure.what();
      EXPECT_NE(std::string(failure.what()).find("/path: what happened"), std::string::npos);
    }
  }
}

TEST(ErrorsForTools, KeepTheErrorOfTheSystemCall) {
  try {
    HostPlatform::Io::RaiseToTools(Error(ErrorKind::kOther, "/path: cannot open", EMFILE, "why"));
  } catch (const std::system_error& failure) {
    EXPECT_EQ(failure.code(), std::errc::too_many_files_open);
  }
}

}  // namespace
}  // namespace PlatformTest
