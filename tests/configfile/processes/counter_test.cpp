// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Many processes, and many threads, that each read a number, add one and write it.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support.h"

namespace ConfigFileTest {
namespace {

void AddOne() {
  const SynchronizedConfigFile locked;
  const auto branch = BranchOf(locked);
  int count = 0;
  branch->GetValue("count", &count);
  branch->SetValue("count", static_cast<unsigned long>(count + 1));
  locked.file->Write();
}

// On a host where nothing was ever written the first change is refused when somebody else was
// faster; nothing was changed then, and the caller tries again.
void AddOneTryingAgain() {
  for (;;) {
    const std::string message = MessageOf(&AddOne);
    if (message == kNothingRaised) return;
    ASSERT_TRUE(Contains(message, "another process changed it"));
  }
}

class Counter : public HostTest {
 protected:
  Counter() { HostPlatform::UseLockTimeout(600'000); }

  static void Run(int processes, int rounds, void (*addOne)()) {
    std::vector<std::unique_ptr<ChildProcess>> children;
    for (int i = 0; i < processes; ++i) {
      children.push_back(std::make_unique<ChildProcess>([=] {
        for (int round = 0; round < rounds; ++round)
          addOne();
      }));
    }
    for (const auto& child : children)
      EXPECT_TRUE(child->Succeeds());
    EXPECT_EQ(Get("count"), std::to_string(processes * rounds));
  }
};

TEST_F(Counter, OfEightProcessesLosesNothing) {
  Put("count", "0");
  Run(8, 100, &AddOne);
  EXPECT_EQ(NamesIn(HostPath()), (Texts{"host-config.json", "host-config.lock"}));
}

TEST_F(Counter, OfProcessesThatStartOnAnEmptyHostLosesNothing) {
  Run(8, 50, &AddOneTryingAgain);
}

TEST_F(Counter, StartsRightOnAnEmptyHostTimeAfterTime) {
  for (int i = 0; i < 10; ++i) {
    std::filesystem::remove_all(HostPath());
    HostPlatform::UseHostDirectory(HostPath());
    Run(6, 2, &AddOneTryingAgain);
  }
}

TEST_F(Counter, OfManyThreadsLosesNothing) {
  Put("count", "0");
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < 50; ++round)
        AddOne();
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(Get("count"), "400");
}

TEST_F(Counter, OfProcessesWithThreadsLosesNothing) {
  Put("count", "0");
  std::vector<std::unique_ptr<ChildProcess>> children;
  for (int i = 0; i < 4; ++i) {
    children.push_back(std::make_unique<ChildProcess>([] {
      for (int round = 0; round < 10; ++round) {
        std::thread other(&AddOne);
        AddOne();
        other.join();
      }
    }));
  }
  for (const auto& child : children)
    EXPECT_TRUE(child->Succeeds());
  EXPECT_EQ(Get("count"), "80");
}

using LongCounter = Counter;

TEST_F(LongCounter, OfFiftyProcessesAndThousandRoundsIsFiftyThousand) {
  Put("count", "0");
  Run(50, 1000, &AddOne);
}

TEST_F(LongCounter, OfFiftyProcessesOnAnEmptyHostLosesNothing) {
  Run(50, 100, &AddOneTryingAgain);
}

}  // namespace
}  // namespace ConfigFileTest
