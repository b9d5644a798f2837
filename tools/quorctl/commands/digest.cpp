#include <utility>

#include "argument.h"
#include "command_table.h"
#include "quor/quor_lib.h"
#include "text/json_text.h"
#include "text/table.h"
#include "text/terminal_text.h"

namespace Quorctl {
namespace {

using Digests = std::pair<std::string, std::string>;

std::string Joined(const Digests& digests) {
  return digests.first + ':' + digests.second;
}

class DigestCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "digest",
        {"[-o table|json]", "--expect POLICIES:DATASTORES"},
        "print the digests of all policies and of all datastores",
        "A digest changes when any field of any record does; it is empty when there is\n"
        "nothing to digest. With --expect prints nothing and tells by its exit status\n"
        "whether the catalogue is still the one with these two digests: 0 when it is, 1\n"
        "when it is not.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    format_.Declare(verb, "-o,--output", "FORMAT", "table or json");
    expected_.Declare(verb, "--expect", "POLICIES:DATASTORES", "the digests to compare with");
  }

  ExitStatus Run(CommandOutput* output) override {
    const std::string format = format_.Given() ? format_.Value() : "table";
    if (format != "table" && format != "json") {
      throw UsageError("unknown format " + Quoted(format) + "; choose table or json");
    }
    if (expected_.Given() && expected_.Value().find(':') == std::string::npos) {
      throw UsageError("--expect needs the two digests with a colon between them");
    }
    const Digests digests = TavQuor::QuorLib::GetDbHash();
    if (expected_.Given()) {
      return Joined(digests) == expected_.Value() ? ExitStatus::kDone : ExitStatus::kNo;
    }
    if (format == "json") {
      const nlohmann::ordered_json pair = {{"policies", digests.first},
                                           {"datastores", digests.second}};
      output->text += JsonOnOneLine(pair) + '\n';
    } else {
      LabelledLines lines;
      lines.Add("policies:", digests.first);
      lines.Add("datastores:", digests.second);
      output->text += lines.Text();
    }
    return ExitStatus::kDone;
  }

 private:
  Argument format_;
  Argument expected_;
};

}  // namespace

std::unique_ptr<Command> MakeDigestCommand() {
  return std::make_unique<DigestCommand>();
}

}  // namespace Quorctl
