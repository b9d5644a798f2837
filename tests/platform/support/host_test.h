// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What every test of the platform starts with: a host directory of its own, nothing written yet.
#ifndef TESTS_PLATFORM_SUPPORT_HOST_TEST_H_
#define TESTS_PLATFORM_SUPPORT_HOST_TEST_H_

#include <gtest/gtest.h>

#include <string>

#include "platform/admin.h"
#include "support/store_calls.h"
#include "support/temporary_directory.h"

namespace PlatformTest {

class HostTest : public testing::Test {
 protected:
  HostTest() : HostTest(PlacesForTemporaries().front()) {}
  explicit HostTest(const std::string& place) : temporary_(place) {
    HostPlatform::UseHostDirectory(HostPath());
    HostPlatform::UseLockTimeout(20'000);
  }

  // Does not exist until something is written.
  std::string HostPath() const { return temporary_.PathOf("host"); }
  std::string PathOf(const std::string& name) const { return HostPath() + '/' + name; }
  std::string SnapshotPath() const { return PathOf("config-store.cdb"); }
  std::string LockPath() const { return PathOf("config-store.lock"); }
  std::string FeaturesPath() const { return PathOf("features"); }

  // Makes the process forget the snapshot that it has mapped, as one that was just started.
  void StartAfresh() const {
    HostPlatform::UseHostDirectory(temporary_.PathOf("elsewhere"));
    OpenStore();
    HostPlatform::UseHostDirectory(HostPath());
  }

  TemporaryDirectory temporary_;
};

}  // namespace PlatformTest

#endif  // TESTS_PLATFORM_SUPPORT_HOST_TEST_H_
