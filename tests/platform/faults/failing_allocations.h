// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Allocations under the test's hand: every malloc(), calloc() and realloc() of the process, where
// failing_malloc.cpp is linked in, which `operator new` and the C library's own needs go through;
// or every `operator new`, where failing_new.cpp is, for a sanitizer has a malloc() of its own.
#ifndef TESTS_PLATFORM_FAULTS_FAILING_ALLOCATIONS_H_
#define TESTS_PLATFORM_FAULTS_FAILING_ALLOCATIONS_H_

#include <functional>
#include <string_view>

namespace PlatformTest {

// Which allocations fail while they are watched.
struct AllocationPlan {
  int first = 0;         // counted from 1; 0: none
  bool forEver = false;  // that one only, or from then on
  // Called before the first one, which then succeeds.
  std::function<void()> meanwhile = nullptr;
};

struct WatchedAllocations {
  int made = 0;
  int failed = 0;
};

// Allocations are counted, and fail as planned, until StopWatchingAllocations().
void WatchAllocations(const AllocationPlan& plan);
WatchedAllocations StopWatchingAllocations();

// Whether the last one that failed was made by an exported function with that in its name, or by
// what it called.
bool LastFailureWasIn(std::string_view function);

// For what takes the place of an allocating function: whether it is to fail now.
bool AllocationFails() noexcept;

// What is watched: "malloc" or "operator new".
extern const char* const kAllocator;

}  // namespace PlatformTest

#endif  // TESTS_PLATFORM_FAULTS_FAILING_ALLOCATIONS_H_
