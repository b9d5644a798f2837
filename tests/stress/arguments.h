// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The command line of the stress programs: --store NAME, --seed NUMBER, and how often.
#ifndef TESTS_STRESS_ARGUMENTS_H_
#define TESTS_STRESS_ARGUMENTS_H_

#include <cstdint>
#include <random>
#include <stdexcept>
#include <string>

namespace StressTest {

struct Arguments {
  std::string store = "store";
  std::uint64_t seed = std::random_device()();
  int times = 0;
};

// `timesName` is the option that says how often, "--kills" say. Raises std::invalid_argument.
inline Arguments ReadArguments(int argc, char** argv, const std::string& timesName) {
  Arguments arguments;
  for (int i = 1; i < argc; i += 2) {
    const std::string name = argv[i];
    if (i + 1 == argc) throw std::invalid_argument(name + " needs a value");
    const std::string value = argv[i + 1];
    if (name == "--store") {
      arguments.store = value;
    } else if (name == "--seed") {
      arguments.seed = std::stoull(value);
    } else if (name == timesName) {
      arguments.times = std::stoi(value);
    } else {
      throw std::invalid_argument("unknown option " + name);
    }
  }
  if (arguments.times <= 0) throw std::invalid_argument(timesName + " is to be given");
  return arguments;
}

}  // namespace StressTest

#endif  // TESTS_STRESS_ARGUMENTS_H_
