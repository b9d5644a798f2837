// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "argument.h"
#include "backend_choice.h"
#include "catalogue/text/terminal_text.h"
#include "command_table.h"
#include "listing_options.h"
#include "quor/quor_lib.h"
#include "record_layouts.h"
#include "stored_records.h"

namespace Quorctl {

using TavQuor::QuorLib;

namespace {

class ListCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "list",
        {std::string("policies ") + ListingOptions::kSynopsis,
         std::string("datastores ") + ListingOptions::kSynopsis},
        "list the policies or the datastores",
        "Lists in the order in which the records are stored.\n"
        "table  for reading: BLOBS holds namespace:bytes for each blob, \"-\" stands for\n"
        "       nothing, and what could harm a terminal is shown as \\xHH or \\uHHHH\n"
        "wide   the same with more columns: BYTES of all blobs; of a datastore the name of\n"
        "       its default policy and the bytes of the blob that this one has for it\n"
        "json   the exact contents: an array as it stands in a catalogue document, which\n"
        "       \"quorctl export\" writes as a whole\n"
        "jsonl  the same, one object per line\n"
        "csv    the same for a spreadsheet: what is no text or number stands as JSON, and a\n"
        "       text that begins with = + - @, a tab or a carriage return, which it would\n"
        "       calculate, gets an apostrophe before it; csv-raw leaves such texts as they are\n"
        "The fields that --fields and --sort know are those of json and for policies\n"
        "blobBytes, for datastores defaultPolicyName and defaultBlobBytes.\n"
        "What cannot be read is left out, and the exit status is 5 then. Where policies that\n"
        "cannot be read may be missing from these two fields of datastores, a warning on\n"
        "standard error says so, and the exit status is not changed by it.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    kind_.Declare(verb, "KIND", "", "policies or datastores");
    options_.Declare(verb);
  }

  ExitStatus Run(CommandOutput* output) override {
    if (!kind_.Given()) throw UsageError("list what? policies or datastores");
    StayWithTheBackend();
    if (kind_.Value() == "policies") {
      ListPolicies(output);
    } else if (kind_.Value() == "datastores") {
      ListDatastores(output);
    } else {
      throw UsageError("cannot list " + Quoted(kind_.Value()) + "; choose policies or datastores");
    }
    return ExitStatus::kDone;
  }

 private:
  void ListPolicies(CommandOutput* output) const {
    RecordWriter writer(PolicyLayout(), options_.Choices());
    const StoredRecords stored;
    const auto policies = QuorLib::ListPolicyInfo();
    for (const auto& policy : policies)
      AddPolicy(policy, &writer);
    output->text += writer.Text();
    stored.ExpectPolicies(policies.size());
  }

  void ListDatastores(CommandOutput* output) const {
    RecordWriter writer(DatastoreLayout(), options_.Choices());
    const StoredRecords stored;
    const auto datastores = QuorLib::ListDatastoreInfo();
    DatastoreRows rows(&writer);
    for (const auto& datastore : datastores)
      rows.Add(datastore);
    output->text += writer.Text();
    stored.ExpectDatastores(datastores.size());
  }

  Argument kind_;
  ListingOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeListCommand() {
  return std::make_unique<ListCommand>();
}

}  // namespace Quorctl
