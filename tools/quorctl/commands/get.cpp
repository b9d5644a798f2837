// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <set>

#include "argument.h"
#include "backend_choice.h"
#include "command_table.h"
#include "listing_options.h"
#include "record_layouts.h"
#include "record_names.h"
#include "stored_records.h"

namespace Quorctl {

using TavQuor::QuorLib;

namespace {

const CommandInfo kList = {
    "list",
    {std::string("policies|datastores [KEY]... ") + ListingOptions::kSynopsis},
    "list the policies or the datastores",
    "Lists in the order in which the records are stored.\n"
    "table  for reading: BLOBS holds namespace:bytes for each blob, \"-\" stands for\n"
    "       nothing, and what could harm a terminal is shown as \\xHH or \\uHHHH\n"
    "wide   the same with more columns: BYTES of all blobs; of a datastore the name of\n"
    "       its default policy and the bytes of the blob that this one has for it\n"
    "name   the identifiers or URLs alone, one per line\n"
    "json   the exact contents: an array as it stands in a catalogue document, which\n"
    "       \"quorctl export\" writes as a whole\n"
    "jsonl  the same, one object per line\n"
    "yaml   the same as YAML, texts of several lines as such\n"
    "csv    the same for a spreadsheet: what is no text or number stands as JSON, and a\n"
    "       text that begins with = + - @, a tab or a carriage return, which it would\n"
    "       calculate, gets an apostrophe before it; csv-raw leaves such texts as they are\n"
    "The fields that --fields and --sort know are those of json and for policies\n"
    "blobBytes, for datastores defaultPolicyName and defaultBlobBytes.\n"
    "What cannot be read is left out, and the exit status is 5 then. Where policies that\n"
    "cannot be read may be missing from these two fields of datastores, a warning on\n"
    "standard error says so, and the exit status is not changed by it.\n",
};

const CommandInfo kGet = {
    "get",
    {std::string("policies|datastores [KEY]... ") + ListingOptions::kSynopsis,
     std::string("policy|datastore KEY... ") + ListingOptions::kSynopsis,
     std::string("policy --name NAME ") + ListingOptions::kSynopsis},
    "show policies or datastores, all or some",
    "Shows what \"quorctl list\" shows, which is another name of it, in the same formats. A\n"
    "KEY is the identifier of a policy, else its name, or the URL of a datastore; else a\n"
    "pattern of these, with * ? and []: get policies 'gold-*'. All that have it are\n"
    "shown. Where a KEY is that of no record the exit status is 3, and 5 where the record\n"
    "may be one that cannot be read; the others are shown. For the default policy of a\n"
    "datastore such policies are only warned of: see \"quorctl help list\".\n"
    "A value that begins with a dash goes behind two dashes: get policy -- -x\n",
};

class GetCommand final : public Command {
 public:
  explicit GetCommand(const CommandInfo& info) : info_(info) {}

  const CommandInfo& Info() const override { return info_; }

  void Declare(CLI::App& verb) override {
    kind_.Declare(verb, "KIND", "", "policies or datastores");
    kind_.OfferChoices(&info_ == &kGet ? "policies datastores policy datastore"
                                       : "policies datastores");
    keys_.Declare(verb, "KEY", "", "an identifier, a name, a URL or a pattern; all without");
    if (&info_ == &kGet) name_.Declare(verb, "--name", "NAME", "the policy of this name");
    options_.Declare(verb, /*named=*/true);
  }

  const RecordLayout* Lists(const std::string& kind) const override {
    if (kind.rfind("polic", 0) == 0) return &PolicyLayout();
    return kind.rfind("datastore", 0) == 0 ? &DatastoreLayout() : nullptr;
  }

  ExitStatus Run(CommandOutput* output) override {
    if (!kind_.Given()) throw UsageError(info_.name + " what? policies or datastores");
    const std::string& kind = kind_.Value();
    const bool isPolicy = IsPolicyKind(kind);
    if (name_.Given() && !isPolicy) throw UsageError("--name goes with policies only");
    if (name_.Given() && !keys_.Values().empty()) {
      throw UsageError("a KEY and --name exclude each other");
    }
    if ((kind == "policy" || kind == "datastore") && keys_.Values().empty() && !name_.Given()) {
      throw UsageError(info_.name + ' ' + kind + " needs a KEY; \"quorctl " + info_.name +
                       (isPolicy ? " policies" : " datastores") + "\" shows all");
    }
    StayWithTheBackend();
    const RecordChoices choices = options_.Choices(isPolicy ? "id" : "url");
    RecordWriter writer(isPolicy ? PolicyLayout() : DatastoreLayout(), choices);
    const StoredRecords stored;
    if (isPolicy) {
      const auto policies = QuorLib::ListPolicyInfo();
      const Shown shown =
          Show(policies, [&writer](const auto& policy) { AddPolicy(policy, &writer); });
      Finish(shown, &writer, output, [&] { stored.ExpectPolicies(policies.size()); });
    } else {
      const auto datastores = QuorLib::ListDatastoreInfo();
      DatastoreRows rows(&writer);
      const Shown shown = Show(datastores, [&rows](const auto& datastore) { rows.Add(datastore); });
      Finish(shown, &writer, output, [&] { stored.ExpectDatastores(datastores.size()); });
    }
    return ExitStatus::kDone;
  }

 private:
  struct Shown {
    bool any = false;    // or all that there are
    std::string absent;  // what of that which was asked for is not there
  };

  bool ShowsAll() const { return keys_.Values().empty() && !name_.Given(); }

  // Adds those that are asked for, each once.
  template <typename Record, typename Add>
  Shown Show(const std::vector<Record>& records, const Add& add) const {
    Shown shown;
    if (ShowsAll() || name_.Given()) {
      shown.any = ShowsAll();
      for (const Record& record : records) {
        if (name_.Given() && *NamesOf(record).back() != name_.Value()) continue;
        add(record);
        shown.any = true;
      }
      if (!shown.any) shown.absent = "there is no policy named " + Quoted(name_.Value());
      return shown;
    }
    constexpr bool isPolicy = std::is_same_v<Record, TavQuor::QuorPolicyInfo>;
    std::set<std::size_t> added;
    for (const std::string& key : keys_.Values()) {
      const std::vector<std::size_t> found = FindNamed(records, key);
      for (const std::size_t i : found) {
        if (added.insert(i).second) add(records[i]);
      }
      if (!found.empty()) continue;
      shown.absent += (shown.absent.empty() ? "" : "; ") + NoSuchRecord(isPolicy, key);
    }
    shown.any = !added.empty();
    return shown;
  }

  // A record that was not found may be one that cannot be read.
  template <typename ExpectComplete>
  void Finish(const Shown& shown, RecordWriter* writer, CommandOutput* output,
              const ExpectComplete& expectComplete) const {
    if (shown.any) output->text += writer->Text();
    if (ShowsAll() || !shown.absent.empty()) expectComplete();
    if (!shown.absent.empty()) throw CommandError(ExitStatus::kAbsent, shown.absent);
  }

  const CommandInfo& info_;
  Argument kind_;
  Arguments keys_;
  Argument name_;
  ListingOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeListCommand() {
  return std::make_unique<GetCommand>(kList);
}

std::unique_ptr<Command> MakeGetCommand() {
  return std::make_unique<GetCommand>(kGet);
}

}  // namespace Quorctl
