// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A program that is run as a child, again and again.
#ifndef BENCH_CHILD_PROGRAM_H_
#define BENCH_CHILD_PROGRAM_H_

#include <string>
#include <vector>

namespace Bench {

class ChildProgram {
 public:
  // Its environment is what is given here and nothing else.
  explicit ChildProgram(std::string path, std::vector<std::string> environment = {});

  // Starts it, waits for its end and returns what it wrote to its standard output. Raises
  // std::runtime_error when it could not be started or did not end with 0.
  std::string Run(const std::vector<std::string>& arguments) const;

 private:
  std::string path_;
  std::vector<std::string> environment_;
};

}  // namespace Bench

#endif  // BENCH_CHILD_PROGRAM_H_
