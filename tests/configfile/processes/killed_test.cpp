// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Writers that are killed: the old document or the new one, whole, and the next session works.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "support.h"

namespace ConfigFileTest {
namespace {

constexpr int kInstances = 200;

// All instances and the branch hold the same text.
void WriteVersion(const std::string& version) {
  const SynchronizedConfigFile locked;
  const auto branch = BranchOf(locked);
  branch->RemoveAllChildren();
  branch->SetValue("version", version);
  const auto array = branch->GetArray("items");
  for (int i = 0; i < kInstances; ++i)
    array->NewInstance()->SetValue("version", version);
  locked.file->Write();
}

void IsWhole() {
  const SynchronizedConfigFile locked;
  std::string version;
  EXPECT_TRUE(BranchOf(locked)->GetValue("version", &version));
  const auto instances = BranchOf(locked)->GetArray("items")->GetInstances();
  EXPECT_EQ(instances.size(), static_cast<std::size_t>(kInstances));
  for (const auto& instance : instances) {
    std::string own;
    EXPECT_TRUE(instance->GetValue("version", &own));
    EXPECT_EQ(own, version);
  }
}

class KilledWriter : public HostTest {
 protected:
  void KillWriters(int count) const {
    WriteVersion("first");
    std::mt19937 random(4711);
    for (int i = 0; i < count && !HasFailure(); ++i) {
      ChildProcess writer([] {
        for (int version = 0;; ++version)
          WriteVersion(std::to_string(version));
      });
      usleep(static_cast<useconds_t>(random() % 8'000));
      writer.Kill();
      HostPlatform::UseLockTimeout(0);  // nobody is alive who could hold it
      IsWhole();
      if (i % 10 == 9) WriteVersion("between");
      HostPlatform::UseLockTimeout(60'000);
    }
    WriteVersion("last");
    EXPECT_EQ(Get("version"), "last");
    EXPECT_EQ(NamesIn(HostPath()), (Texts{"host-config.json", "host-config.lock"}))
        << "what killed writers left is swept away";
  }
};

TEST_F(KilledWriter, LeavesTheOldDocumentOrTheNewOne) {
  KillWriters(100);
}

TEST_F(KilledWriter, LeavesNoTemporaryBehindTheNextWrite) {
  Put("key", "value");
  WriteFile(PathOf(".host-config.json.new-0123456789abcdef"), "{\"half\"");
  WriteFile(PathOf(".host-config.json.new-fedcba9876543210"), "");
  WriteFile(PathOf(".host-config.json.new-somebody-else's"), "");
  WriteFile(PathOf(".config-store.cdb.new-0123456789abcdef"), "");
  EXPECT_EQ(Get("key"), "value");
  EXPECT_EQ(NamesIn(HostPath()).size(), 6U) << "readers sweep nothing";
  Put("key", "new");
  EXPECT_EQ(NamesIn(HostPath()), (Texts{".config-store.cdb.new-0123456789abcdef",
                                        ".host-config.json.new-somebody-else's", "host-config.json",
                                        "host-config.lock"}));
}

using LongKilledWriter = KilledWriter;

TEST_F(LongKilledWriter, LeavesTheOldDocumentOrTheNewOneAThousandTimes) {
  KillWriters(1000);
}

}  // namespace
}  // namespace ConfigFileTest
