// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "argument.h"
#include "catalogue_change.h"
#include "command_table.h"
#include "history.h"
#include "host_backend.h"
#include "live_catalogue.h"
#include "quor/quor_lib.h"
#include "store_limits.h"

namespace Quorctl {

using TavQuor::QuorLib;

namespace {

class MigrateCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "migrate",
        {"--to store|file " + std::string(ChangeOptions::kSynopsis)},
        "copy the catalogue from the other host store",
        "Replaces what the given host store holds by the catalogue of the other one and\n"
        "compares the digests of both. What the given one could not keep as it is gets\n"
        "named, with exit status 1, before anything is written. What deletes something is\n"
        "asked for on a terminal and needs --yes elsewhere (exit status 8); what was there is\n"
        "kept: see \"quorctl help history\". The switch is left as it is: see \"quorctl help\n"
        "switch\".\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    target_.Declare(verb, "--to", "CHOICE",
                    "store: the configuration store; file: the configuration file");
    target_.OfferChoices("store file");
    options_.Declare(verb);
  }

  ExitStatus Run(CommandOutput* output) override {
    if (!target_.Given()) throw UsageError("migrate needs --to store or --to file");
    const bool toStore = IsStoreChosen(target_.Value());
    ExpectReadable(BackendSwitch());
    ProgressLine progress;
    progress.Begin("reading the " + BackendName(!toStore));
    UseBackend(!toStore);
    LiveCatalogue source = ReadLiveCatalogue();
    Catalogue& catalogue = source.catalogue;
    ExpectNoLosses(toStore, catalogue, output);
    const Digests digests = DigestsOf(catalogue);
    const std::string what =
        CountedRecords(catalogue.policies.size(), catalogue.datastores.size()) + " to";
    UseBackend(toStore);
    const ExitStatus status = ChangeCatalogue({"migrate", "copy " + what, "copied " + what},
                                              options_, std::move(catalogue), &progress, output);
    if (source.stamp.IsCurrent() || IsStill(toStore, digests)) return status;
    throw CommandError(ExitStatus::kStore,
                       "the digests of the two stores differ: another process changed one of "
                       "them meanwhile; run migrate again");
  }

 private:
  static void ExpectNoLosses(bool toStore, const Catalogue& catalogue, CommandOutput* output) {
    const std::vector<std::string> losses = LostIn(toStore, catalogue);
    if (losses.empty()) return;
    for (const std::string& loss : losses)
      output->text += loss + '\n';
    throw CommandError(ExitStatus::kNo, "the " + BackendName(toStore) +
                                            " cannot keep this catalogue as it is; nothing was "
                                            "written");
  }

  // Whether the source still has these digests: it may have changed since it was read. Leaves the
  // target selected.
  static bool IsStill(bool toStore, const Digests& digests) {
    UseBackend(!toStore);
    const Digests source = QuorLib::GetDbHash();
    UseBackend(toStore);
    return source == digests;
  }

  Argument target_;
  ChangeOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeMigrateCommand() {
  return std::make_unique<MigrateCommand>();
}

}  // namespace Quorctl
