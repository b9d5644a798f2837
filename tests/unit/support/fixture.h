// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What every test of the library over the recording platform starts and ends with.
#ifndef TESTS_UNIT_SUPPORT_FIXTURE_H_
#define TESTS_UNIT_SUPPORT_FIXTURE_H_

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "recording/platform.h"
#include "support/catalogue.h"
#include "support/outcome.h"

namespace QuorTest {

using Recording::Lines;
using Recording::RestartPlatform;
using Recording::SetConfigStoreSwitch;
using Recording::ThePlatform;

// Starts with an empty store, an empty file, the configuration store switched on and no fault. At
// the end nothing of either may be alive: no handle, no object, no lock and no exception.
class RecordingTest : public testing::Test {
 protected:
  void SetUp() override { RestartPlatform(); }

  void TearDown() override {
    ExpectNothingIsKept();
    RestartPlatform();
  }

  static void ExpectNothingIsKept() {
    EXPECT_EQ(ThePlatform().liveHandles, 0);
    EXPECT_EQ(ThePlatform().liveObjects, 0);
    EXPECT_EQ(AttachmentOwners(), 0);
    EXPECT_EQ(ThePlatform().locks, ThePlatform().unlocks);
    EXPECT_EQ(ThePlatform().nestedLocks, 0);
    EXPECT_EQ(ThePlatform().liveFileHandles, 0);
    EXPECT_EQ(ThePlatform().handlesHeldAtUnlock, 0);
  }

  static void StoreSample() { ThePlatform().stored = Stored(SamplePolicies(), SampleDatastores()); }
};

inline bool StartsWith(const std::string& line, const std::string& start) {
  return line.rfind(start, 0) == 0;
}

// The logged calls of one operation, "SetObject" say.
inline Lines CallsOf(const std::string& operation) {
  Lines calls;
  for (const std::string& line : ThePlatform().log) {
    if (line == operation || StartsWith(line, operation + " ")) calls.push_back(line);
  }
  return calls;
}

inline std::string FirstOf(const Lines& calls) {
  return calls.empty() ? "no call" : calls.front();
}
inline std::string LastOf(const Lines& calls) {
  return calls.empty() ? "no call" : calls.back();
}

// Makes every call to the store or the file fail whose logged line starts with `start`.
inline void FailCallsOf(const std::string& start, Failure failure) {
  ThePlatform().duringStoreCall = [start, failure](int, const std::string& line) {
    if (StartsWith(line, start)) Raise(failure);
  };
}

}  // namespace QuorTest

#endif  // TESTS_UNIT_SUPPORT_FIXTURE_H_
