// quorctl: an operator's way to the host's catalogue.
#include <optional>
#include <system_error>

#include "command_line.h"
#include "standard_streams.h"

namespace Quorctl {
namespace {

void WriteOutput(const CommandOutput& output) {
  const int error = WriteStandardOutput(output.text);
  if (error == 0) return;
  throw CommandError(ExitStatus::kStore,
                     "cannot write to standard output: " + std::generic_category().message(error) +
                         (output.changedHost ? "; the command itself was carried out" : ""));
}

// What a command found out before it failed is shown too, and before its error, which often speaks
// of it; the status of the command is the one that counts.
ExitStatus RunAndReport(const std::vector<std::string>& words) {
  CommandOutput output;
  ExitStatus status = ExitStatus::kDone;
  std::optional<Failure> ofCommand;
  std::optional<Failure> ofWriting;
  try {
    status = CommandLine().Run(words, &output);
  } catch (...) {
    ofCommand = DescribeCurrentException();
    status = ofCommand->status;
  }
  try {
    WriteOutput(output);
  } catch (...) {
    ofWriting = DescribeCurrentException();
    if (status == ExitStatus::kDone) status = ofWriting->status;
  }
  for (const auto& failure : {ofCommand, ofWriting}) {
    if (failure) WriteErrorLine(failure->message);
  }
  return status;
}

}  // namespace
}  // namespace Quorctl

int main(int argc, char** argv) {
  try {
    Quorctl::ReserveStandardDescriptors();
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i)
      words.emplace_back(argv[i]);
    return static_cast<int>(Quorctl::RunAndReport(words));
  } catch (...) {  // no memory left even for a message
    return static_cast<int>(Quorctl::ExitStatus::kInternal);
  }
}
