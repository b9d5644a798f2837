// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Pauses in the middle of the library's calls, for others to come in between.
//
// Linked into a program, some system calls take the place of the C library's: pauses follow a look
// at which version of a file is there, and precede the rename that puts a new one in place. Flushes
// do not wait for the disk, but pause as well: only a loss of power could tell the difference.
#ifndef TESTS_STRESS_PAUSES_H_
#define TESTS_STRESS_PAUSES_H_

#include <cstdint>

namespace StressTest {

// Without it there are no pauses. For this thread.
void PauseInCalls(std::uint64_t seed);

}  // namespace StressTest

#endif  // TESTS_STRESS_PAUSES_H_
