// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "faults/failing_allocations.h"

#include <dlfcn.h>
#include <execinfo.h>

#include <array>

namespace PlatformTest {
namespace {

constexpr std::size_t kDepth = 48;

bool watching = false;
AllocationPlan plan;
WatchedAllocations allocations;
std::array<void*, kDepth> callers{};  // of the last one that failed
int callerCount = 0;

}  // namespace

void WatchAllocations(const AllocationPlan& thePlan) {
  callerCount = backtrace(callers.data(), 1);  // the first one ever loads what it needs
  plan = thePlan;
  allocations = WatchedAllocations();
  watching = true;
}

WatchedAllocations StopWatchingAllocations() {
  watching = false;
  return allocations;
}

bool LastFailureWasIn(std::string_view function) {
  for (int i = 0; i < callerCount; ++i) {
    Dl_info found = {};
    if (dladdr(callers[static_cast<std::size_t>(i)], &found) == 0) continue;
    if (found.dli_sname == nullptr) continue;
    if (std::string_view(found.dli_sname).find(function) != std::string_view::npos) return true;
  }
  return false;
}

bool AllocationFails() noexcept {
  if (!watching) return false;
  ++allocations.made;
  if (plan.first == 0 || allocations.made < plan.first) return false;
  if (allocations.made > plan.first && !plan.forEver) return false;
  if (plan.meanwhile) {
    watching = false;
    plan.meanwhile();
    return false;
  }
  ++allocations.failed;
  watching = false;
  callerCount = backtrace(callers.data(), kDepth);
  watching = true;
  return true;
}

}  // namespace PlatformTest
