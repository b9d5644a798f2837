// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Every exit status of quorctl, and which one a failure has.
#ifndef TOOLS_QUORCTL_EXIT_STATUS_H_
#define TOOLS_QUORCTL_EXIT_STATUS_H_

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

namespace Quorctl {

enum class ExitStatus : int {
  kDone = 0,
  kNo = 1,
  kUsage = 2,
  kAbsent = 3,
  kBadInput = 4,
  kStore = 5,
  kNoHost = 6,
  kPermission = 7,
  kNotConfirmed = 8,
  kMoved = 9,
  kInternal = 70,
};

struct ExitStatusMeaning {
  ExitStatus status;
  const char* meaning;
};

// In rising order; what the help prints.
extern const std::array<ExitStatusMeaning, 11> kExitStatusMeanings;

// A failure that a command finds itself.
class CommandError : public std::runtime_error {
 public:
  CommandError(ExitStatus status, const std::string& message)
      : std::runtime_error(message), status_(status) {}

  ExitStatus status() const { return status_; }

 private:
  ExitStatus status_;
};

// A command line that makes no sense.
class UsageError : public CommandError {
 public:
  explicit UsageError(const std::string& message) : CommandError(ExitStatus::kUsage, message) {}
};

struct Failure {
  ExitStatus status;
  std::string message;
  std::vector<std::string> others;  // what is wrong with a document beside that
};

// The exit status and the message of the exception that is being handled. To be called in a catch
// block.
Failure DescribeCurrentException();

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_EXIT_STATUS_H_
