// quorctl: an operator's way to the host's catalogue.
#include <system_error>

#include "command_line.h"
#include "standard_streams.h"

namespace Quorctl {
namespace {

ExitStatus ReportCurrentException() {
  const Failure failure = DescribeCurrentException();
  WriteErrorLine(failure.message);
  return failure.status;
}

void WriteOutput(const CommandOutput& output) {
  const int error = WriteStandardOutput(output.text);
  if (error == 0) return;
  throw CommandError(ExitStatus::kStore,
                     "cannot write to standard output: " + std::generic_category().message(error) +
                         (output.changedHost ? "; the command itself was carried out" : ""));
}

// What a command found out before it failed is shown too; its exit status is the one that counts.
ExitStatus RunAndReport(const std::vector<std::string>& words) {
  CommandOutput output;
  ExitStatus status = ExitStatus::kDone;
  try {
    status = CommandLine().Run(words, &output);
  } catch (...) {
    status = ReportCurrentException();
  }
  try {
    WriteOutput(output);
  } catch (...) {
    const ExitStatus writing = ReportCurrentException();
    if (status == ExitStatus::kDone) status = writing;
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
