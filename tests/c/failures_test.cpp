// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Each kind of failure, provoked in the real stores.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <memory>

#include "support.h"
#include "support/child_process.h"
#include "support/needs.h"
#include "tavconfigstore/config_store.h"

namespace CTest {
namespace {

using PlatformTest::ReadFile;
using PlatformTest::RunInChild;
using PlatformTest::WriteFile;

class Failures : public CInterface {
 protected:
  static Failure LookUp(quor_status expected) {
    quor_bytes blob = {"before", 6, 0};
    quor_error* error;
    EXPECT_EQ(quor_rilk_blob_by_id("gold-01", 7, &blob, &error), expected);
    EXPECT_EQ(blob.length, 0U);
    EXPECT_STREQ(blob.data, "");
    quor_bytes_free(&blob);
    Failure failure(error);
    EXPECT_EQ(failure.kind, expected);
    return failure;
  }
  static Failure Replace(quor_status expected) {
    quor_error* error;
    EXPECT_EQ(quor_policies_replace(nullptr, &error), expected);
    Failure failure(error);
    EXPECT_EQ(failure.kind, expected);
    return failure;
  }
  std::string StorePath() const { return PathOf("config-store.cdb"); }
  std::string FilePath() const { return PathOf("host-config.json"); }
};
class FailuresInBoth : public Failures, public testing::WithParamInterface<bool> {
 protected:
  FailuresInBoth() {
    UseStore(GetParam());
    PutCatalogue("b");
  }
  std::string Path() const { return GetParam() ? StorePath() : FilePath(); }
  std::string LockPath() const {
    return PathOf(GetParam() ? "config-store.lock" : "host-config.lock");
  }
};
INSTANTIATE_TEST_SUITE_P(, FailuresInBoth, testing::Bool(), NameOfStore);

TEST_P(FailuresInBoth, ALockThatIsHeldIsBusyAndNamesTheHolder) {
  const int file = open(LockPath().c_str(), O_RDWR | O_CLOEXEC);
  struct flock range = {};
  range.l_type = F_WRLCK;
  ASSERT_EQ(fcntl(file, F_OFD_SETLK, &range), 0);
  HostPlatform::UseLockTimeout(10);
  const Failure failure = Replace(QUOR_BUSY);
  close(file);
  EXPECT_EQ(failure.file, LockPath());
  EXPECT_NE(failure.message.find("still locked after 10 ms by process "), std::string::npos)
      << failure.message;
}

TEST_P(FailuresInBoth, AStrangerIsRefused) {
  Machine::NeedRoot();
  RunInChild([&] {
    PlatformTest::BecomeUser(PlatformTest::kStranger, {PlatformTest::kOutsiders});
    EXPECT_NE(LookUp(QUOR_PERMISSION).file, "");
    Replace(QUOR_PERMISSION);
  });
}

TEST_P(FailuresInBoth, AFileThatEverybodyCouldHavePlantedIsAMatterOfPermission) {
  ASSERT_EQ(chmod(PathOf("").c_str(), 0777), 0);
  EXPECT_EQ(Replace(QUOR_PERMISSION).file, PathOf(""));
}

TEST_P(FailuresInBoth, DamageIsToldWithTheFile) {
  std::string bytes = ReadFile(Path());
  WriteFile(Path(), bytes.substr(0, bytes.size() / 2));
  EXPECT_EQ(LookUp(QUOR_CORRUPT).file, Path());
  EXPECT_EQ(Replace(QUOR_CORRUPT).file, Path());
}

TEST_P(FailuresInBoth, WhatACallThatFailsStoresIsEmpty) {
  WriteFile(Path(), "damaged");
  quor_digests digests = {"before", "before"};
  EXPECT_EQ(quor_digests_get(&digests, nullptr), QUOR_CORRUPT);
  EXPECT_STREQ(digests.policies, "");
  EXPECT_STREQ(digests.datastores, "");
  quor_policies* policies = reinterpret_cast<quor_policies*>(this);
  EXPECT_EQ(quor_policies_list(&policies, nullptr), QUOR_CORRUPT);
  EXPECT_EQ(policies, nullptr);
  quor_datastores* datastores = reinterpret_cast<quor_datastores*>(this);
  EXPECT_EQ(quor_datastores_list(&datastores, nullptr), QUOR_CORRUPT);
  EXPECT_EQ(datastores, nullptr);
}

TEST_P(FailuresInBoth, TheNameOfTheDirectoryIsNoReason) {
  HostPlatform::UseHostDirectory(temporary_.PathOf("still locked after a while"));
  UseStore(GetParam());
  PutCatalogue("b");
  WriteFile(HostPlatform::HostDirectory() + Path().substr(Path().rfind('/')), "damaged");
  LookUp(QUOR_CORRUPT);
}

TEST_P(FailuresInBoth, ADiskThatIsFullIsToldAsNoSpace) {
  RunInChild([&] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit tiny = {16, 16};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tiny), 0);
    EXPECT_EQ(Replace(QUOR_NO_SPACE).file.rfind(PathOf(""), 0), 0U);
  });
}

TEST_P(FailuresInBoth, AnotherReasonIsTheStoresOrTheFiles) {
  const std::string first = GetParam() ? Path() : LockPath();  // what is opened first
  ASSERT_EQ(remove(first.c_str()), 0);
  ASSERT_EQ(mknod(first.c_str(), S_IFSOCK | 0600, 0), 0);  // ENXIO
  EXPECT_EQ(LookUp(GetParam() ? QUOR_STORE : QUOR_FILE).file, first);
}

TEST_F(Failures, ABlobThatIsNoBase64IsDamage) {
  UseStore(false);
  PutCatalogue("some blob");
  std::string text = ReadFile(FilePath());
  const std::size_t place = text.find("c29tZSBibG9i");
  ASSERT_NE(place, std::string::npos);
  text[place] = '*';
  WriteFile(FilePath(), text);
  const Failure failure = LookUp(QUOR_CORRUPT);
  EXPECT_EQ(failure.file, "");
  EXPECT_EQ(failure.message, "Unable to Decode string");
}

TEST_F(Failures, AValueOfAnotherTypeIsDamage) {
  using namespace TavConfigStore;
  UseStore(true);
  const auto odd = std::make_shared<ConfigStoreObject>(
      ConfigStoreObjectId("quor_policies", "storage", "tav", "odd"));
  odd->SetValue("policy_id", 7LL);
  ConfigStore::GetStore(sGlobalNamespace)->SetObject(odd, 0);
  const Failure failure = LookUp(QUOR_CORRUPT);
  EXPECT_NE(failure.message.find("is not a"), std::string::npos) << failure.message;
}

TEST_F(Failures, NoErrorIsDone) {
  EXPECT_EQ(quor_error_kind(nullptr), QUOR_OK);
  EXPECT_STREQ(quor_error_message(nullptr), "");
  EXPECT_STREQ(quor_error_file(nullptr), "");
  quor_error_free(nullptr);
}

TEST_F(Failures, AMistakeInAHandEditedFileIsDamageAndNamesTheFileWithoutItsLine) {
  UseStore(false);
  PutCatalogue("b");
  WriteFile(FilePath(), "{\n  \"Quor\": [,]\n}\n");
  const Failure failure = LookUp(QUOR_CORRUPT);
  EXPECT_EQ(failure.file, FilePath());
  EXPECT_EQ(failure.message.rfind(FilePath() + ":2:", 0), 0U) << failure.message;
}

TEST_F(Failures, ANullPointerIsWrongUse) {
  quor_error* error;
  EXPECT_EQ(quor_rilk_blob_by_id("x", 1, nullptr, &error), QUOR_USAGE);
  EXPECT_EQ(Failure(error).message, "a null pointer was given for the blob");
  quor_bytes blob;
  EXPECT_EQ(quor_rilk_blob_by_id(nullptr, 1, &blob, nullptr), QUOR_USAGE);
  EXPECT_EQ(quor_policies_list(nullptr, nullptr), QUOR_USAGE);
  EXPECT_EQ(quor_datastores_list(nullptr, nullptr), QUOR_USAGE);
  EXPECT_EQ(quor_digests_get(nullptr, nullptr), QUOR_USAGE);
  quor_policies* const list = quor_policies_new();
  EXPECT_EQ(quor_policy_set_name(quor_policies_add(list), nullptr, 3), QUOR_USAGE);
  quor_policies_free(list);
}

TEST_F(Failures, EveryKindHasAWord) {
  for (int kind = QUOR_OK; kind <= QUOR_SYSTEM; ++kind) {
    EXPECT_STRNE(quor_status_text(static_cast<quor_status>(kind)), "unknown");
  }
  EXPECT_STREQ(quor_status_text(static_cast<quor_status>(15)), "unknown");
}

}  // namespace
}  // namespace CTest
