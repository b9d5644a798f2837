// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The system calls by which files are changed, under the test's hand: logged, and failed on demand.
//
// Linked into the test program, they take the place of the C library's. Nothing is logged or
// failed but between Watch() and Stop().
#ifndef TESTS_PLATFORM_FAULTS_SYSTEM_CALLS_H_
#define TESTS_PLATFORM_FAULTS_SYSTEM_CALLS_H_

#include <functional>
#include <string>
#include <vector>

namespace PlatformTest {

struct SystemCall {
  std::string name;
  std::string path;  // of the file, as far as it is known; the last component only
};

// Called before each call; an errno value makes it fail with that, 0 lets it happen.
using CallHook = std::function<int(const SystemCall&)>;

void Watch(CallHook hook = nullptr);
// Ends it; what was called, in order.
std::vector<SystemCall> Stop();

// Called behind each open of a file while calls are watched, before its caller goes on.
void CallAfterOpens(std::function<void()> call);

// The most bytes that one write() takes while calls are watched; 0 for no limit.
void LimitWrites(std::size_t most);

}  // namespace PlatformTest

#endif  // TESTS_PLATFORM_FAULTS_SYSTEM_CALLS_H_
