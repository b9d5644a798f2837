// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Access control lists: a replaced file keeps its own, whatever its directory has for new files.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>

#include "access_list.h"
#include "platform/admin.h"
#include "support.h"
#include "support/needs.h"
#include "tavconfigstore/config_store.h"

namespace ConfigFileTest {
namespace {

void PutInStore() {
  using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): a name of each line
  ConfigStore::GetStore(sGlobalNamespace)
      ->SetObject(
          std::make_shared<ConfigStoreObject>(ConfigStoreObjectId("kind", "group", "tests", "a")),
          0);
}

void PutInFile() {
  Put("key", "value");
}

struct Stored {
  const char* name;
  const char* lock;
  void (*change)();
};

void PrintTo(const Stored& stored, std::ostream* out) {
  *out << stored.name;
}

constexpr uid_t kOther = 54325;

class AccessLists : public HostTest, public testing::WithParamInterface<Stored> {
 protected:
  AccessLists() : HostTest(PlaceWithAccessLists()) {
    Machine::NeedRoot();
    MakeHost();
    Check(chown(HostPath().c_str(), 0, kReaders) == 0, HostPath());
    Check(chmod(HostPath().c_str(), 0751) == 0, HostPath());
  }

  static void Change() { GetParam().change(); }
  std::string Path() const { return PathOf(GetParam().name); }
  void SetDefaultList(uid_t reader) const {
    Check(SetList(HostPath(), kDefaultList, ListFor(reader, ACL_READ)), HostPath());
  }

  static bool MayRead(uid_t user, gid_t group, const std::string& path) {
    const pid_t reader = fork();
    if (reader == 0) {
      BecomeUser(user, {group});
      _exit(open(path.c_str(), O_RDONLY | O_CLOEXEC) >= 0 ? 0 : errno);
    }
    int status = 0;
    Check(waitpid(reader, &status, 0) == reader && WIFEXITED(status), "wait for a reader");
    EXPECT_TRUE(WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == EACCES);
    return WEXITSTATUS(status) == 0;
  }
  bool MayRead(uid_t user) const { return MayRead(user, kOutsiders, Path()); }
};

TEST_P(AccessLists, OfTheDirectoryDoNotOpenAFileThatIsReplaced) {
  Change();
  SetDefaultList(kStranger);
  ASSERT_FALSE(MayRead(kStranger));
  for (int i = 0; i < 2; ++i) {
    Change();
    EXPECT_FALSE(MayRead(kStranger));
    EXPECT_EQ(ListOf(Path()), "");
    EXPECT_EQ(ModeOf(Path()), 0640U);
    EXPECT_TRUE(MayRead(kOther, kReaders, Path()));
  }
}

TEST_P(AccessLists, OfTheFileAreKeptInPlaceOfTheDirectorys) {
  Change();
  ASSERT_TRUE(SetList(Path(), kAccessList, ListFor(kStranger, 0)));
  SetDefaultList(kOther);
  const std::string before = ListOf(Path());
  for (int i = 0; i < 2; ++i) {
    Change();
    EXPECT_EQ(ListOf(Path()), before);
    EXPECT_EQ(ModeOf(Path()), 0640U) << "of which the group's part is the list's mask";
    EXPECT_TRUE(MayRead(kStranger));
    EXPECT_FALSE(MayRead(kOther));
    EXPECT_FALSE(MayRead(kOther, kReaders, Path())) << "the list gives the group nothing";
  }
}

// It is what whoever set the list wants of the files that are made there.
TEST_P(AccessLists, OfTheDirectoryOpenAFileThatIsMade) {
  SetDefaultList(kStranger);
  Change();
  EXPECT_TRUE(MayRead(kStranger));
  EXPECT_FALSE(MayRead(kOther));
  EXPECT_EQ(ModeOf(Path()), 0640U);
}

TEST_P(AccessLists, OfTheDirectoryDoNotOpenTheLock) {
  SetDefaultList(kStranger);
  Change();
  EXPECT_EQ(ModeOf(PathOf(GetParam().lock)), 0600U);
  EXPECT_FALSE(MayRead(kStranger, kOutsiders, PathOf(GetParam().lock)));
}

INSTANTIATE_TEST_SUITE_P(
    Of, AccessLists,
    testing::Values(Stored{"host-config.json", "host-config.lock", &PutInFile},
                    Stored{"config-store.cdb", "config-store.lock", &PutInStore}),
    [](const auto& stored) { return stored.index == 0 ? "TheFile" : "TheStore"; });

}  // namespace
}  // namespace ConfigFileTest
