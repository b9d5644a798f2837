// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <algorithm>

#include "argument.h"
#include "catalogue/text/terminal_text.h"
#include "check/catalogue_content.h"
#include "check/finding.h"
#include "check/host_files.h"
#include "check/stored_content.h"
#include "command_table.h"
#include "host_backend.h"
#include "listing_options.h"
#include "platform/admin.h"
#include "stored_records.h"
#include "text/record_writer.h"

namespace Quorctl {

using TavQuor::QuorLib;

namespace {

const RecordLayout& FindingLayout() {
  static const RecordLayout layout = [] {
    RecordLayout made;
    made.fields = {{"severity", "SEVERITY"},
                   {"subject", "SUBJECT"},
                   {"problem", "PROBLEM"},
                   {"advice", "WHAT TO DO"}};
    made.inTable = {"severity", "subject", "problem", "advice"};
    made.inWide = made.inTable;
    made.inData = made.inTable;
    made.headingsWhenEmpty = false;
    made.hasSentences = true;
    return made;
  }();
  return layout;
}

FieldValue SeverityValue(Severity severity) {
  switch (severity) {
    case Severity::kError:
      return TextValue("error", Colour::kRed);
    case Severity::kWarning:
      return TextValue("warning", Colour::kYellow);
    default:
      return TextValue("info");
  }
}

// Checks the catalogue that programs get; records hidden from them were reported with the store.
void CheckCatalogue(Findings* findings) {
  Catalogue catalogue;
  const StoredRecords stored;
  try {
    catalogue.policies = QuorLib::ListPolicyInfo();
    catalogue.datastores = QuorLib::ListDatastoreInfo();
  } catch (const Brisk::Lib::BriskException& failure) {
    if (HostPlatform::IsPermissionFailure(failure)) throw;
    findings->push_back({Severity::kError, SelectedBackendPlace(),
                         std::string("the catalogue cannot be listed: ") + failure.what(),
                         "see the other findings"});
    return;
  }
  CheckDuplicates(catalogue, findings);
  const bool policiesLost = stored.LostPolicies(catalogue.policies.size()) > 0;
  CheckDefaultPolicies(catalogue, policiesLost, findings);
}

class CheckCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "check",
        {"[--severity LEAST] [--verbose] " + std::string(ListingOptions::kSynopsis)},
        "look for what is wrong with this host's catalogue",
        "Verifies every record of both host stores, and looks at the catalogue that is in\n"
        "use, at modes and owners, the switch, locks, the history and free space. Prints a\n"
        "line for each finding with what to do; nothing when there is none. An error loses\n"
        "records or answers; a warning is what does not work as it seems to. The exit\n"
        "status is 1 when there are findings. Writes nothing.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    severity_.Declare(verb, "--severity", "LEAST", "tell and count errors only: error; or warning");
    severity_.OfferChoices("error warning");
    DeclareFlag(verb, "--verbose", &verbose_, "tell also what was looked at and is right");
    options_.Declare(verb);
  }

  const RecordLayout* Lists(const std::string& /*kind*/) const override { return &FindingLayout(); }

  ExitStatus Run(CommandOutput* output) override {
    onlyErrors_ = severity_.Given() && severity_.Value() == "error";
    if (severity_.Given() && !onlyErrors_ && severity_.Value() != "warning") {
      throw UsageError("unknown severity " + Quoted(severity_.Value()) +
                       "; choose error or warning");
    }
    RecordWriter writer(FindingLayout(), options_.Choices());
    Findings findings;
    try {
      FindAll(&findings);
    } catch (...) {
      Write(findings, &writer, output);  // all that could be found out
      throw;
    }
    return Write(findings, &writer, output) ? ExitStatus::kNo : ExitStatus::kDone;
  }

 private:
  static void FindAll(Findings* findings) {
    WaitBriefly();
    CheckFiles(findings);
    CheckCatalogue(findings);
  }

  // Returns whether anything is wrong. The worst comes first.
  bool Write(Findings findings, RecordWriter* writer, CommandOutput* output) const {
    std::stable_sort(findings.begin(), findings.end(), [](const Finding& a, const Finding& b) {
      return static_cast<int>(a.severity) < static_cast<int>(b.severity);
    });
    bool anythingWrong = false;
    for (const Finding& finding : findings) {
      if (finding.severity == Severity::kInfo && !verbose_) continue;
      if (finding.severity == Severity::kWarning && onlyErrors_) continue;
      anythingWrong = anythingWrong || finding.severity != Severity::kInfo;
      writer->Add({SeverityValue(finding.severity), TextValue(finding.subject),
                   TextValue(finding.problem), TextValue(finding.advice)});
    }
    output->text += writer->Text();
    return anythingWrong;
  }

  Argument severity_;
  bool onlyErrors_ = false;
  bool verbose_ = false;
  ListingOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeCheckCommand() {
  return std::make_unique<CheckCommand>();
}

}  // namespace Quorctl
