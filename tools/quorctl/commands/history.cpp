// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "history.h"

#include "command_table.h"
#include "listing_options.h"
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
                   {"path", "PATH"}};
    made.inTable = kAll;
    made.inWide = kAll;
    made.inWide.emplace_back("path");
    made.inData = made.inWide;
    return made;
  }();
  return layout;
}

class HistoryCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "history",
        {ListingOptions::kSynopsis},
        "list the catalogues that were in place",
        "Every change keeps the catalogue that it puts in place, and the one that it replaces\n"
        "where another program had changed it: the newest " +
            std::to_string(kHistoryLength) +
            ", in history/ in the host\n"
            "directory. Each is a whole catalogue document. \"quorctl restore NUMBER\" puts one\n"
            "back; diff takes it too, and so does apply, unless a name, namespace or URL repeats\n"
            "in it. Lists the newest first. REASON is the command that put it there, \"found\"\n"
            "where it was none of quorctl; STORE where it was: store or file. Not in the\n"
            "document, and so not kept, are keys that somebody wrote into a record of the\n"
            "configuration file by hand.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override { options_.Declare(verb); }

  ExitStatus Run(CommandOutput* output) override {
    RecordWriter writer(HistoryLayout(), options_.Choices());
    for (const HistoryEntry& entry : ListHistory()) {
      writer.Add({NumberValue(static_cast<std::int64_t>(entry.number)), TextValue(entry.time),
                  TextValue(entry.reason), TextValue(entry.inStore ? "store" : "file"),
                  NumberValue(static_cast<std::int64_t>(entry.policies)),
                  NumberValue(static_cast<std::int64_t>(entry.datastores)),
                  TextValue(entry.digests.first), TextValue(entry.digests.second),
                  TextValue(entry.path)});
    }
    output->text += writer.Text();
    return ExitStatus::kDone;
  }

 private:
  ListingOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeHistoryCommand() {
  return std::make_unique<HistoryCommand>();
}

}  // namespace Quorctl
