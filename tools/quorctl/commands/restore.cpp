// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "argument.h"
#include "catalogue_change.h"
#include "command_table.h"
#include "history.h"
#include "host_backend.h"
#include "option_values.h"
#include "store_limits.h"

namespace Quorctl {
namespace {

class RestoreCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "restore",
        {std::string(ChangeOptions::kSynopsis) + " NUMBER",
         std::string(ChangeOptions::kSynopsis) + " --last"},
        "put a catalogue of the history back",
        "Makes the kept catalogue of that number the catalogue of the host store that it was\n"
        "kept from, in the same order, under the terms of apply: shows what differs, asks or\n"
        "needs --yes where something is deleted, and keeps what is there now. \"quorctl\n"
        "history\" lists the numbers. With --last it is the catalogue that quorctl put last\n"
        "into the store in use: after an interrupted change, after a change by another\n"
        "program, and where the store's file is damaged, which is put aside then.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    number_.Declare(verb, "NUMBER", "", "which one, as \"quorctl history\" lists it");
    DeclareFlag(verb, "--last", &last_, "the catalogue that quorctl put there last");
    options_.Declare(verb);
  }

  ExitStatus Run(CommandOutput* output) override {
    if (number_.Given() == last_) {
      throw UsageError("restore needs a NUMBER of the history or --last, one of the two");
    }
    const std::uint64_t number = last_ ? 0 : NumberIn(number_.Value(), "number of the history");
    ExpectReadable(BackendSwitch());
    ProgressLine progress;
    progress.Begin("reading the history");
    const HistoryEntry entry = last_ ? FindLast() : FindHistoryEntry(number);
    Catalogue catalogue = ReadHistoryEntry(entry);
    const std::vector<std::string> losses = LostIn(entry.inStore, catalogue);
    if (!losses.empty()) {
      throw CommandError(ExitStatus::kBadInput, entry.path + ": " + losses.front() + "; the " +
                                                    BackendName(entry.inStore) +
                                                    " would not keep it");
    }
    UseBackend(entry.inStore);
    const std::string what = "number " + std::to_string(entry.number) + " (" +
                             CountedRecords(entry.policies, entry.datastores) + ", kept at " +
                             entry.time + ") in";
    ChangeRequest request{"restore", "restore " + what, "restored " + what};
    request.replacesDamaged = last_;
    return ChangeCatalogue(request, options_, std::move(catalogue), &progress, output);
  }

 private:
  static HistoryEntry FindLast() {
    const bool inStore = BackendSwitch().on;
    for (const HistoryEntry& entry : ListHistory()) {
      if (entry.inStore == inStore && entry.reason != kFound) return entry;
    }
    throw CommandError(
        ExitStatus::kAbsent,
        "the history holds no catalogue that quorctl put into the " + BackendName(inStore));
  }

  Argument number_;
  bool last_ = false;
  ChangeOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeRestoreCommand() {
  return std::make_unique<RestoreCommand>();
}

}  // namespace Quorctl
