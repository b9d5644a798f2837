// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// quor-publish: an operator's way to the catalogues of many hosts.
#include <exception>
#include <new>
#include <string>
#include <system_error>
#include <vector>

#include "answer.h"
#include "catalogue/document_error.h"
#include "catalogue/text/terminal_text.h"
#include "command_line.h"
#include "fleet/fleet_error.h"
#include "fleet/release.h"
#include "standard_streams.h"

namespace QuorPublish {
namespace {

void WriteError(const std::string& message) {
  Quorctl::WriteTerminal("quor-publish: " + Quorctl::EscapeForTerminal(message) + '\n');
}

ExitStatus StatusOf(QuorFleet::FleetProblem problem) {
  switch (problem) {
    case QuorFleet::FleetProblem::kSettings:
      return ExitStatus::kUsage;
    case QuorFleet::FleetProblem::kDenied:
      return ExitStatus::kPermission;
    default:
      return ExitStatus::kStore;
  }
}

// Tells of the exception that is being handled.
ExitStatus Report() {
  try {
    throw;
  } catch (const CommandError& failure) {
    WriteError(failure.what());
    return failure.status();
  } catch (const Quorctl::DocumentError& failure) {
    WriteError(failure.what());
    for (const std::string& other : failure.others)
      WriteError(other);
    return ExitStatus::kBadInput;
  } catch (const QuorFleet::ReleaseRefused& failure) {
    WriteError(failure.what());
    return ExitStatus::kBadInput;
  } catch (const QuorFleet::FleetError& failure) {
    WriteError(failure.what());
    // The centre's own tables tell a change that came too late by these.
    const bool moved = failure.sqlState() == "QR001" || failure.sqlState() == "QR002";
    return moved ? ExitStatus::kMoved : StatusOf(failure.problem());
  } catch (const std::system_error& failure) {
    WriteError(failure.what());
    return ExitStatus::kStore;
  } catch (const std::bad_alloc&) {
    WriteError("out of memory");
  } catch (const std::exception& failure) {
    WriteError(std::string("internal error: ") + failure.what());
  }
  return ExitStatus::kInternal;
}

ExitStatus Main(const std::vector<std::string>& words) {
  Answer answer;
  std::exception_ptr failure;
  try {
    RunCommand(words, &answer);
  } catch (...) {
    failure = std::current_exception();
  }
  // Output that a command produced before it failed is printed before the error, which often refers
  // to it.
  const int error = Quorctl::WriteStandardOutput(answer.text);
  if (failure) {
    try {
      std::rethrow_exception(failure);
    } catch (...) {
      return Report();
    }
  }
  if (error == 0) return answer.status;
  WriteError("cannot write to standard output: " + std::generic_category().message(error) +
             "; the command itself was carried out");
  return ExitStatus::kStore;
}

}  // namespace
}  // namespace QuorPublish

int main(int argc, char** argv) {
  try {
    Quorctl::ReserveStandardDescriptors();
    return static_cast<int>(QuorPublish::Main({argv + 1, argv + argc}));
  } catch (...) {  // no memory left even for a message
    return static_cast<int>(Quorctl::ExitStatus::kInternal);
  }
}
