// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "history.h"

#include "argument.h"
#include "catalogue/document_writer.h"
#include "catalogue/text/terminal_text.h"
#include "command_table.h"
#include "document_form.h"
#include "listing_options.h"
#include "option_values.h"
#include "text/record_writer.h"

namespace Quorctl {
namespace {

const RecordLayout& HistoryLayout() {
  static const std::vector<std::string> kAll = {"number",       "time",           "reason",
                                                "store",        "policies",       "datastores",
                                                "policyDigest", "datastoreDigest"};
  static const RecordLayout layout = [] {
    RecordLayout made;
    made.fields = {{"number", "NUMBER", Table::Align::kRight},
                   {"time", "TIME"},
                   {"reason", "REASON"},
                   {"store", "STORE"},
                   {"policies", "POLICIES", Table::Align::kRight},
                   {"datastores", "DATASTORES", Table::Align::kRight},
                   {"policyDigest", "POLICY DIGEST"},
                   {"datastoreDigest", "DATASTORE DIGEST"},
                   {"path", "PATH"},
                   {"kept", "KEPT"}};
    made.inTable = kAll;
    made.inWide = kAll;
    made.inWide.insert(made.inWide.end(), {"kept", "path"});
    made.inData = made.inWide;
    made.names = {"time"};
    return made;
  }();
  return layout;
}

class HistoryCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "history",
        {ListingOptions::kSynopsis, "show NUMBER", "keep|release NUMBER", "length COUNT"},
        "list the catalogues that were in place",
        "Every change keeps the catalogue that it puts in place, and the one that it replaces\n"
        "where another program had changed it: the newest " +
            std::to_string(kUsualHistoryLength) +
            ", in history/ in the host\n"
            "directory. Each is a whole catalogue document. \"quorctl restore NUMBER\" puts one\n"
            "back; diff takes it too, and so does apply, unless a name, namespace or URL repeats\n"
            "in it. Lists the newest first. REASON is the command that put it there, \"found\"\n"
            "where it was none of quorctl; STORE where it was: store or file. Not in the\n"
            "document, and so not kept, are keys that somebody wrote into a record of the\n"
            "configuration file by hand.\n"
            "\n"
            "show writes the document of one. keep lets one stay whatever comes later, and does\n"
            "not count it; release takes that back. length sets how many others stay on this\n"
            "host, from the next change on.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    action_.Declare(verb, "ACTION", "", "show, keep, release or length; the list without one");
    action_.OfferChoices("show keep release length");
    number_.Declare(verb, "NUMBER", "", "one of the list; for length how many");
    options_.Declare(verb);
  }

  const RecordLayout* Lists(const std::string& /*kind*/) const override { return &HistoryLayout(); }

  ExitStatus Run(CommandOutput* output) override {
    action_.Given() ? Act(output) : List(output);
    return ExitStatus::kDone;
  }

 private:
  void Act(CommandOutput* output) const {
    const std::string& action = action_.Value();
    if (action != "show" && action != "keep" && action != "release" && action != "length") {
      throw UsageError("unknown action " + Quoted(action) +
                       "; choose show, keep, release or length");
    }
    if (!number_.Given()) throw UsageError("history " + action + " needs a number");
    if (action == "length") {
      const std::uint64_t length = NumberIn(number_.Value(), "count");
      if (length < 1 || length > kLongestHistory) {
        throw UsageError("history length: give a count from 1 to " +
                         std::to_string(kLongestHistory));
      }
      SetHistoryLength(static_cast<std::size_t>(length));
      return;
    }
    const HistoryEntry entry = FindHistoryEntry(NumberIn(number_.Value(), "number of the history"));
    if (action == "show") {
      const Catalogue kept = ReadHistoryEntry(entry);
      const bool asYaml = options_.Choices().format == RecordFormat::kYaml;
      output->text += asYaml ? AsYamlDocument(kept) : CatalogueAsDocument(kept);
    } else {
      MakeKept(entry, action == "keep");
    }
  }

  void List(CommandOutput* output) const {
    RecordWriter writer(HistoryLayout(), options_.Choices());
    for (const HistoryEntry& entry : ListHistory()) {
      writer.Add({NumberValue(static_cast<std::int64_t>(entry.number)), TextValue(entry.time),
                  TextValue(entry.reason), TextValue(entry.inStore ? "store" : "file"),
                  NumberValue(static_cast<std::int64_t>(entry.policies)),
                  NumberValue(static_cast<std::int64_t>(entry.datastores)),
                  TextValue(entry.digests.first), TextValue(entry.digests.second),
                  TextValue(entry.path), TextValue(entry.kept ? "yes" : "no")});
    }
    output->text += writer.Text();
  }

  Argument action_;
  Argument number_;
  ListingOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeHistoryCommand() {
  return std::make_unique<HistoryCommand>();
}

}  // namespace Quorctl
