// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Other programs, started by tests.
#ifndef TESTS_PLATFORM_SUPPORT_PROGRAM_H_
#define TESTS_PLATFORM_SUPPORT_PROGRAM_H_

#include <string>
#include <vector>

namespace PlatformTest {

// What the program (arguments[0] is its path) prints with just this environment. It is started
// without the fork handlers of the C library, so it inherits every descriptor that is not
// close-on-exec. Raises std::runtime_error when it cannot be started or fails.
std::string OutputOf(const std::vector<std::string>& arguments,
                     const std::vector<std::string>& environment = {});

std::vector<std::string> Lines(const std::string& text);

}  // namespace PlatformTest

#endif  // TESTS_PLATFORM_SUPPORT_PROGRAM_H_
