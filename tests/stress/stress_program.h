// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What both stress programs do around their test.
#ifndef TESTS_STRESS_STRESS_PROGRAM_H_
#define TESTS_STRESS_STRESS_PROGRAM_H_

#include <chrono>
#include <cstdio>
#include <exception>
#include <string>

#include "arguments.h"

namespace StressTest {

// Runs a test, and prints what it counted also when it fails. The program's exit status: 0 for
// success, 1 for a failure, 2 when the test cannot be made.
template <typename Test>
int RunProgram(int argc, char** argv, const std::string& timesName) try {
  const Arguments arguments = ReadArguments(argc, argv, timesName);
  const auto start = std::chrono::steady_clock::now();
  Test test(arguments);
  std::string failure;
  try {
    test.Run();
  } catch (const std::exception& exception) {
    failure = exception.what();
  }
  test.Print(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  if (!failure.empty()) std::printf("FAILED: %s\n", failure.c_str());
  return failure.empty() ? 0 : 1;
} catch (const std::exception& exception) {
  std::fprintf(stderr, "%s: %s\n", argv[0], exception.what());
  return 2;
}

}  // namespace StressTest

#endif  // TESTS_STRESS_STRESS_PROGRAM_H_
