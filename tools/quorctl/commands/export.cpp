// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "backend_choice.h"
#include "command_table.h"
#include "document_form.h"
#include "live_catalogue.h"

namespace Quorctl {
namespace {

class ExportCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "export",
        {DocumentForm::kSynopsis},
        "write the whole catalogue as a document",
        "Writes the document that \"quorctl apply\" reads, to standard output. One catalogue\n"
        "gives the same bytes whatever the order in which it is stored: policies are sorted\n"
        "by identifier, blobs by namespace, datastores by URL. A list in which one of these\n"
        "repeats is written in the order in which it is stored, for the digests depend on\n"
        "that order then. Where it is a policy's name, a namespace or a URL that repeats, as\n"
        "the configuration file allows, \"quorctl apply\" refuses the document until each is\n"
        "there once. Nothing is written when a record cannot be read. The document tells on\n"
        "which digests it is based: \"quorctl apply\" refuses it when the catalogue has become\n"
        "another one since. -o yaml writes the same document as YAML, in which texts of\n"
        "several lines stand as such.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override { form_.Declare(verb); }

  ExitStatus Run(CommandOutput* output) override {
    StayWithTheBackend();
    form_.IsYaml();  // what is wrong with the words is told first
    output->text += form_.Text(LiveDocument());
    return ExitStatus::kDone;
  }

 private:
  DocumentForm form_;
};

}  // namespace

std::unique_ptr<Command> MakeExportCommand() {
  return std::make_unique<ExportCommand>();
}

}  // namespace Quorctl
