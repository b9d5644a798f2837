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

class GetCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "get",
        {std::string("policy ID ") + ListingOptions::kSynopsis,
         std::string("policy --name NAME ") + ListingOptions::kSynopsis,
         std::string("datastore URL ") + ListingOptions::kSynopsis},
        "show one policy or one datastore",
        "Shows what \"quorctl list\" shows, of this record alone and in the same formats, so\n"
        "json is an array of one. More than one is shown where an identifier repeats. The\n"
        "exit status is 3 where there is no such record, and 5 where it may be one that\n"
        "cannot be read. For the default policy of a datastore such policies are only\n"
        "warned of: see \"quorctl help list\".\n"
        "A value that begins with a dash goes behind two dashes: get policy -- -x\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    kind_.Declare(verb, "KIND", "", "policy or datastore");
    key_.Declare(verb, "KEY", "", "the policy's identifier or the datastore's URL");
    name_.Declare(verb, "--name", "NAME", "the policy of this name");
    options_.Declare(verb);
  }

  ExitStatus Run(CommandOutput* output) override {
    if (!kind_.Given()) throw UsageError("get what? policy or datastore");
    StayWithTheBackend();
    if (kind_.Value() == "policy") {
      if (key_.Given() == name_.Given()) {
        throw UsageError("get policy takes an identifier or --name, one of the two");
      }
      GetPolicy(output);
    } else if (kind_.Value() == "datastore") {
      if (name_.Given()) throw UsageError("--name goes with get policy only");
      if (!key_.Given()) throw UsageError("get datastore needs a URL");
      GetDatastore(output);
    } else {
      throw UsageError("cannot get " + Quoted(kind_.Value()) + "; choose policy or datastore");
    }
    return ExitStatus::kDone;
  }

 private:
  void GetPolicy(CommandOutput* output) const {
    RecordWriter writer(PolicyLayout(), options_.Choices());
    const StoredRecords stored;
    const auto policies = QuorLib::ListPolicyInfo();
    bool found = false;
    for (const auto& policy : policies) {
      const bool wanted =
          name_.Given() ? policy.name == name_.Value() : policy.policyId == key_.Value();
      if (!wanted) continue;
      AddPolicy(policy, &writer);
      found = true;
    }
    if (!found) {
      stored.ExpectPolicies(policies.size());  // a record that cannot be read may be the one
      throw CommandError(ExitStatus::kAbsent,
                         name_.Given()
                             ? "there is no policy named " + Quoted(name_.Value())
                             : "there is no policy with the identifier " + Quoted(key_.Value()));
    }
    output->text += writer.Text();
  }

  void GetDatastore(CommandOutput* output) const {
    RecordWriter writer(DatastoreLayout(), options_.Choices());
    const StoredRecords stored;
    const auto datastores = QuorLib::ListDatastoreInfo();
    DatastoreRows rows(&writer);
    bool found = false;
    for (const auto& datastore : datastores) {
      if (datastore.url != key_.Value()) continue;
      rows.Add(datastore);
      found = true;
    }
    if (!found) {
      stored.ExpectDatastores(datastores.size());
      throw CommandError(ExitStatus::kAbsent, "there is no datastore " + Quoted(key_.Value()));
    }
    output->text += writer.Text();
  }

  Argument kind_;
  Argument key_;
  Argument name_;
  ListingOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeGetCommand() {
  return std::make_unique<GetCommand>();
}

}  // namespace Quorctl
