// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The recording platform's configuration file, so far as other tests rely on it.
#include <type_traits>

#include "support/fixture.h"
#include "zynctl/config_file.h"

namespace QuorTest {
namespace {

using Recording::FileTree;
using ZynCtl::Config::ConfigFileException;
using ZynCtl::Config::SynchronizedConfigFile;

class RecordingFile : public RecordingTest {
 protected:
  static FileTree WithKey(const std::string& value) {
    FileTree file;
    file["/branch"].values["key"] = value;
    return file;
  }

  static void Set(const SynchronizedConfigFile& locked, const std::string& value) {
    locked.file->GetBranch("/branch")->SetValue("key", value);
  }
};

TEST_F(RecordingFile, ChangesAreInTheFileOnlyAfterWrite) {
  ThePlatform().file = WithKey("old");
  const SynchronizedConfigFile locked;
  Set(locked, "new");
  EXPECT_EQ(ThePlatform().file, WithKey("old"));
  EXPECT_EQ(ThePlatform().openFile, WithKey("new"));
  locked.file->Write();
  EXPECT_EQ(ThePlatform().file, WithKey("new"));
}

TEST_F(RecordingFile, UnlockDropsWhatWasNotWritten) {
  ThePlatform().file = WithKey("old");
  { Set(SynchronizedConfigFile(), "new"); }
  EXPECT_EQ(ThePlatform().file, WithKey("old"));
  EXPECT_EQ(ThePlatform().openFile, FileTree());
}

TEST_F(RecordingFile, LocksHandlesAndReleasesAreCounted) {
  {
    const SynchronizedConfigFile locked;
    const auto branch = locked.file->GetBranch("/branch");
    const auto array = branch->GetArray("array");
    const auto instance = array->NewInstance();
    EXPECT_EQ(ThePlatform().locks, 1);
    EXPECT_EQ(ThePlatform().unlocks, 0);
    EXPECT_EQ(ThePlatform().liveFileHandles, 3);
    const SynchronizedConfigFile nested;
    EXPECT_EQ(ThePlatform().nestedLocks, 1);
  }
  EXPECT_EQ(ThePlatform().unlocks, 2);
  EXPECT_EQ(ThePlatform().handlesHeldAtUnlock, 3);  // at the unlock of the nested lock
  EXPECT_EQ(ThePlatform().releases, (Lines{"Unlock", "array[0]", "array", "/branch", "Unlock"}));
  RestartPlatform();
}

TEST_F(RecordingFile, OverloadsAreToldApartInTheLog) {
  const SynchronizedConfigFile locked;
  const auto branch = locked.file->GetBranch("/branch");
  const std::string text = "7";
  std::string read;
  int number = 0;
  branch->SetValue("a", text);
  branch->SetValue("b", std::string("8"));
  branch->SetValue("c", 9UL);
  EXPECT_TRUE(branch->GetValue("c", &read));
  EXPECT_TRUE(branch->GetValue("a", &number));
  EXPECT_EQ(read + std::to_string(number), "97");
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   R"(SynchronizedConfigFile)",
                                   R"(GetBranch /branch)",
                                   R"(SetValue /branch a: const& "7")",
                                   R"(SetValue /branch b: && "8")",
                                   R"(SetValue /branch c: unsigned long 9)",
                                   R"(GetValue /branch c: text)",
                                   R"(GetValue /branch a: int)",
                               }));
}

TEST_F(RecordingFile, AbsentValueLeavesTheResultAsItIs) {
  const SynchronizedConfigFile locked;
  std::string text = "before";
  int number = 5;
  EXPECT_FALSE(locked.file->GetBranch("/branch")->GetValue("key", &text));
  EXPECT_FALSE(locked.file->GetBranch("/branch")->GetValue("key", &number));
  EXPECT_EQ(text, "before");
  EXPECT_EQ(number, 5);
}

TEST_F(RecordingFile, ValueAndArrayOfOneNameAreRefused) {
  ThePlatform().file = WithKey("value");
  ThePlatform().file["/branch"].arrays["array"];
  const SynchronizedConfigFile locked;
  const auto branch = locked.file->GetBranch("/branch");
  std::string text;
  EXPECT_THROW(branch->GetArray("key"), ConfigFileException);
  EXPECT_THROW(branch->GetValue("array", &text), ConfigFileException);
}

TEST_F(RecordingFile, FailedCallHasNoEffect) {
  ThePlatform().file = WithKey("old");
  FailCallsOf("SetValue", Failure::kFileException);
  const SynchronizedConfigFile locked;
  EXPECT_EQ(Attempt([&locked] { Set(locked, "new"); }), Unchanged(Failure::kFileException));
  EXPECT_EQ(ThePlatform().openFile, WithKey("old"));
}

TEST_F(RecordingFile, LockThatFailsIsNotHeld) {
  FailCallsOf("SynchronizedConfigFile", Failure::kFileException);
  EXPECT_EQ(Attempt([] { const SynchronizedConfigFile locked; }),
            Unchanged(Failure::kFileException));
  EXPECT_EQ(ThePlatform().locks, 0);
  EXPECT_EQ(CallsOf("Unlock"), Lines());
}

TEST_F(RecordingFile, FailuresAreToldApartByTypeMessageAndDetail) {
  const Outcome derived = Unchanged(Failure::kDerivedFileException);
  const Outcome plain = Unchanged(Failure::kFileException);
  EXPECT_EQ(plain.type, "ZynCtl::Config::ConfigFileException");
  EXPECT_NE(derived.type, plain.type);
  EXPECT_NE(derived.message, plain.message);
  EXPECT_EQ(derived.detail, "line 7");
  EXPECT_EQ(derived.attachment, plain.attachment);
  EXPECT_NE(derived.attachment, nullptr);
}

// There is nobody to tell: the lock is released in a destructor.
TEST_F(RecordingFile, ExceptionOutOfUnlockEndsTheProcess) {
  EXPECT_TRUE(std::is_nothrow_destructible_v<SynchronizedConfigFile>);
  FailCallsOf("Unlock", Failure::kFileException);
  SetConfigStoreSwitch(0);
  EXPECT_DEATH(TavQuor::QuorLib::ListPolicyInfo(), "does not parse");
}

}  // namespace
}  // namespace QuorTest
