// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// An allocator with a lock that it takes around forks, as programs bring along.
#ifndef TESTS_CONFIGFILE_PROCESSES_LOCKED_ALLOCATIONS_H_
#define TESTS_CONFIGFILE_PROCESSES_LOCKED_ALLOCATIONS_H_

namespace ConfigFileTest {

// From here on, in this process and its children.
void LockAllocationsAroundForks();

}  // namespace ConfigFileTest

#endif  // TESTS_CONFIGFILE_PROCESSES_LOCKED_ALLOCATIONS_H_
