// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What every test of the configuration-file backend starts and ends with.
#ifndef TESTS_UNIT_SUPPORT_FILE_FIXTURE_H_
#define TESTS_UNIT_SUPPORT_FILE_FIXTURE_H_

#include "support/file_catalogue.h"
#include "support/fixture.h"

namespace QuorTest {

// Starts with the sample in the file and the configuration store switched off. At the end the
// configuration store was never called.
class FileTest : public RecordingTest {
 protected:
  void SetUp() override {
    RecordingTest::SetUp();
    SetConfigStoreSwitch(0);
    ThePlatform().file = InFile(SamplePolicies(), SampleDatastores());
  }

  void TearDown() override {
    EXPECT_EQ(ThePlatform().storeCalls, 0);
    RecordingTest::TearDown();
  }
};

}  // namespace QuorTest

#endif  // TESTS_UNIT_SUPPORT_FILE_FIXTURE_H_
