// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What the two kinds of other users get of a host directory that the library made, by its calls and
// by system calls of their own.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>

#include "backend/catalogue.h"
#include "support/needs.h"

namespace ConfigFileTest {
namespace {

class Users : public HostTest, public testing::WithParamInterface<Kind> {
 protected:
  Users() {
    Machine::NeedRoot();
    MakeHost();
    Check(chown(HostPath().c_str(), 0, kReaders) == 0, HostPath());
    Check(chmod(HostPath().c_str(), 02750) == 0, HostPath());
    Switch(GetParam());
    QuorLib::AddPolicyInfo(SomePolicies());
    QuorLib::AddDatastoreInfo(SomeDatastores());
    names_ = NamesIn(HostPath());
    digests_ = QuorLib::GetDbHash();
  }

  static void RunAs(gid_t group, const std::function<void()>& body) {
    RunInChild([&] {
      BecomeUser(kStranger, {kStranger, group});
      body();
    });
  }

  bool IsLockFile(const std::string& name) const { return name.ends_with(".lock"); }

  static void ExpectRefusedChanges() {
    EXPECT_ANY_THROW(QuorLib::AddPolicyInfo({}));
    EXPECT_ANY_THROW(QuorLib::AddDatastoreInfo({}));
    EXPECT_ANY_THROW(QuorLib::Reset());
    EXPECT_ANY_THROW(HostPlatform::SetFeature(9, true));
  }

  // None of the ways to change, replace, hide or add a file.
  void ExpectRefusedSystemCalls() const {
    const std::string own = temporary_.PathOf("own");
    for (const std::string& name : names_) {
      const std::string path = PathOf(name);
      EXPECT_LT(open(path.c_str(), O_WRONLY | O_CLOEXEC), 0) << name;
      EXPECT_NE(truncate(path.c_str(), 0), 0) << name;
      EXPECT_NE(unlink(path.c_str()), 0) << name;
      EXPECT_NE(rename(path.c_str(), PathOf("moved").c_str()), 0) << name;
      EXPECT_NE(rename(own.c_str(), path.c_str()), 0) << name;
      EXPECT_NE(chmod(path.c_str(), 0666), 0) << name;
      EXPECT_NE(chown(path.c_str(), kStranger, kReaders), 0) << name;
    }
    for (const char* planted : {"planted", ".config-store.cdb.new-0123456789abcdef"}) {
      EXPECT_LT(open(PathOf(planted).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), 0);
      EXPECT_NE(mkdir(PathOf(planted).c_str(), 0700), 0);
      EXPECT_NE(symlink("/etc/passwd", PathOf(planted).c_str()), 0);
      EXPECT_NE(link(own.c_str(), PathOf(planted).c_str()), 0);
    }
    EXPECT_NE(rename(HostPath().c_str(), temporary_.PathOf("away").c_str()), 0);
    EXPECT_NE(chmod(HostPath().c_str(), 0777), 0);
  }

  void ExpectUntouched() const {
    EXPECT_EQ(NamesIn(HostPath()), names_);
    EXPECT_EQ(QuorLib::GetDbHash(), digests_);
  }

  Texts names_;
  Digests digests_;
};

INSTANTIATE_TEST_SUITE_P(Backends, Users, testing::Values(Kind::kStore, Kind::kFile),
                         [](const auto& test) {
                           return test.param == Kind::kStore ? "Store" : "File";
                         });

TEST_P(Users, OutsideTheGroupReadNothing) {
  // A process that knows the switches from before, as one that gave up its group has them.
  RunAs(kOutsiders, [this] {
    EXPECT_ANY_THROW(QuorLib::ListPolicyInfo());
    EXPECT_ANY_THROW(QuorLib::ListDatastoreInfo());
    EXPECT_ANY_THROW(QuorLib::GetDbHash());
    EXPECT_ANY_THROW(QuorLib::GetRilkPolicyBlobById("id-1"));
    EXPECT_ANY_THROW(QuorLib::GetRilkPolicyBlobByName("name of id-1"));
    EXPECT_ANY_THROW(QuorLib::GetDefaultPolicyBlob("ds:///volumes/1/"));
    EXPECT_LT(open(HostPath().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), 0);
    for (const std::string& name : names_) {
      EXPECT_LT(open(PathOf(name).c_str(), O_RDONLY | O_CLOEXEC), 0) << name;
      EXPECT_FALSE(Exists(PathOf(name))) << name;
    }
  });
}

TEST_P(Users, OutsideTheGroupWriteNothing) {
  RunAs(kOutsiders, [this] {
    ExpectRefusedChanges();
    ExpectRefusedSystemCalls();
  });
  ExpectUntouched();
}

// Not even a file whose name they know: its own mode keeps them out once the directory lets them
// in.
TEST_P(Users, OutsideTheGroupAreKeptOutByTheFilesToo) {
  Check(chmod(HostPath().c_str(), 0755) == 0, HostPath());
  RunAs(kOutsiders, [this] {
    for (const std::string& name : names_)
      EXPECT_LT(open(PathOf(name).c_str(), O_RDONLY | O_CLOEXEC), 0) << name;
  });
}

TEST_P(Users, InsideTheGroupReadEverythingAndWriteNothing) {
  RunAs(kReaders, [this] {
    EXPECT_EQ(QuorLib::ListPolicyInfo(), SomePolicies());
    EXPECT_EQ(QuorLib::ListDatastoreInfo(), SomeDatastores());
    EXPECT_EQ(QuorLib::GetDbHash(), digests_);
    EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///volumes/2/"), "rilk 2");
    ExpectRefusedChanges();
    ExpectRefusedSystemCalls();
  });
  ExpectUntouched();
}

// Every lock and lease that can be had on what they may open.
TEST_P(Users, InsideTheGroupCannotLockWritersOut) {
  Gate held;
  Gate written;
  ChildProcess member([&] {
    BecomeUser(kStranger, {kStranger, kReaders});
    Texts paths = {HostPath()};
    for (const std::string& name : names_)
      paths.push_back(PathOf(name));
    for (const std::string& path : paths) {
      const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
      EXPECT_EQ(file >= 0, !IsLockFile(path)) << path;
      flock(file, LOCK_EX | LOCK_NB);
      struct flock everything = {};
      everything.l_type = F_RDLCK;
      everything.l_whence = SEEK_SET;
      fcntl(file, F_SETLK, &everything);
      fcntl(file, F_OFD_SETLK, &everything);
      EXPECT_NE(fcntl(file, F_SETLEASE, F_RDLCK), 0) << path;
    }
    held.Open();
    EXPECT_TRUE(written.Wait());
  });
  ASSERT_TRUE(held.Wait());
  HostPlatform::UseLockTimeout(0);
  EXPECT_NO_THROW(QuorLib::AddPolicyInfo({Policy("new")}));
  EXPECT_NO_THROW(QuorLib::AddDatastoreInfo({}));
  EXPECT_NO_THROW(HostPlatform::SetFeature(9, true));
  written.Open();
  EXPECT_TRUE(member.Succeeds());
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies{Policy("new")});
}

}  // namespace
}  // namespace ConfigFileTest
