// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// quorctl: an operator's way to the host's catalogue.
#include <unistd.h>

#include <exception>
#include <new>
#include <optional>
#include <string_view>
#include <system_error>

#include "command_line.h"
#include "pager.h"
#include "signal_block.h"
#include "standard_streams.h"

namespace Quorctl {
namespace {

void WriteOutput(const CommandOutput& output) {
  if (!output.changedHost && ShowInPager(output.text)) return;
  const int error = WriteStandardOutput(output.text);
  if (error == 0) return;
  throw CommandError(ExitStatus::kStore,
                     "cannot write to standard output: " + std::generic_category().message(error) +
                         (output.changedHost ? "; the command itself was carried out" : ""));
}

// Output that a command produced before it failed is printed too, and before the error message,
// which often refers to it. The exit status is the command's.
ExitStatus RunAndReport(const std::vector<std::string>& words) {
  CommandOutput output;
  ExitStatus status = ExitStatus::kDone;
  std::optional<Failure> ofCommand;
  std::optional<Failure> ofWriting;
  try {
    status = CommandLine(MakeCommandTable()).Run(words, &output);
  } catch (...) {
    ofCommand = DescribeCurrentException();
    status = ofCommand->status;
  }
  try {
    WriteOutput(output);
  } catch (...) {
    ofWriting = DescribeCurrentException();
    // An answer that was not told is none.
    if (status == ExitStatus::kDone || status == ExitStatus::kNo) status = ofWriting->status;
  }
  for (const auto& failure : {ofCommand, ofWriting}) {
    if (!failure) continue;
    WriteErrorLine(failure->message);
    for (const std::string& other : failure->others)
      WriteErrorLine(other);
  }
  return status;
}

// Memory can run out in a destructor too, where no exception may leave. Takes none itself.
[[noreturn]] void EndAtOnce() {
  std::string_view message = "quorctl: internal error\n";
  try {
    if (std::current_exception()) throw;
  } catch (const std::bad_alloc&) {
    message = "quorctl: out of memory; a change may have been made\n";
  } catch (...) {  // the message is that of an internal error
  }
  const ssize_t ignored = write(STDERR_FILENO, message.data(), message.size());
  static_cast<void>(ignored);
  _exit(static_cast<int>(ExitStatus::kInternal));
}

}  // namespace
}  // namespace Quorctl

int main(int argc, char** argv) {
  std::set_terminate(Quorctl::EndAtOnce);
  try {
    Quorctl::ReserveStandardDescriptors();
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i)
      words.emplace_back(argv[i]);
    const Quorctl::ExitStatus status = Quorctl::RunAndReport(words);
    Quorctl::SignalBlock::ReleaseKept();
    return static_cast<int>(status);
  } catch (...) {  // no memory left even for a message
    return static_cast<int>(Quorctl::ExitStatus::kInternal);
  }
}
