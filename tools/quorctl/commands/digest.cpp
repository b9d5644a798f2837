// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "argument.h"
#include "catalogue/digests.h"
#include "catalogue/text/json_text.h"
#include "command_table.h"
#include "option_values.h"
#include "quor/quor_lib.h"
#include "stored_records.h"
#include "text/table.h"

namespace Quorctl {

using TavQuor::QuorLib;

namespace {

class DigestCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "digest",
        {"[-o table|json]", "--expect POLICIES:DATASTORES"},
        "print the digests of all policies and of all datastores",
        "A digest is another one after a change of any record, but for a few: bytes that\n"
        "only move to the next field (name \"ab\" and id \"c\" to \"a\" and \"bc\"), what stands\n"
        "behind a NUL byte in a name, an identifier or a description, and datastores of\n"
        "which every field is empty. It is empty when there is nothing to digest.\n"
        "With --expect prints nothing and tells by its exit status whether the digests are\n"
        "still these two: 0 when they are, 1 when they are not.\n"
        "Records that cannot be read do not count; a warning on standard error tells how\n"
        "many there are, and the exit status is not changed by it.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    format_.Declare(verb, "-o,--output", "FORMAT", "table or json");
    format_.OfferChoices("table json");
    expected_.Declare(verb, "--expect", "POLICIES:DATASTORES", "the digests to compare with");
  }

  ExitStatus Run(CommandOutput* output) override {
    const bool json = IsJson(format_);
    Digests expected;
    if (expected_.Given()) expected = DigestsIn(expected_, "--expect");
    const Digests digests = QuorLib::GetDbHash();
    WarnOfLostRecords();
    if (expected_.Given()) {
      return digests == expected ? ExitStatus::kDone : ExitStatus::kNo;
    }
    if (json) {
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
  // A digest is that of the records that can be read.
  static void WarnOfLostRecords() {
    const StoredRecords stored;
    stored.WarnOfPolicies(QuorLib::ListPolicyInfo().size());
    stored.WarnOfDatastores(QuorLib::ListDatastoreInfo().size());
  }

  Argument format_;
  Argument expected_;
};

}  // namespace

std::unique_ptr<Command> MakeDigestCommand() {
  return std::make_unique<DigestCommand>();
}

}  // namespace Quorctl
