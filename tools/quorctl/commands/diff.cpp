// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "argument.h"
#include "backend_choice.h"
#include "catalogue/document_reader.h"
#include "command_table.h"
#include "difference_layout.h"
#include "input_file.h"
#include "listing_options.h"
#include "live_catalogue.h"

namespace Quorctl {
namespace {

class DiffCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "diff",
        {std::string("FILE ") + ListingOptions::kSynopsis,
         std::string("- ") + ListingOptions::kSynopsis},
        "compare the catalogue with a document",
        "Tells what \"quorctl apply FILE\" would change: first what it would delete, then\n"
        "what it would add, then what it would change: which fields, from which value to\n"
        "which (of a blob the namespace and the sizes). Nothing is printed and the exit status\n"
        "is 0 when the catalogue holds the same records already, in whatever order; it is 1\n"
        "when there are differences. A policy that got another name but kept its\n"
        "identifier is changed.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    file_.Declare(verb, "FILE", "", "the document; - for standard input");
    options_.Declare(verb);
  }

  ExitStatus Run(CommandOutput* output) override {
    if (!file_.Given()) throw UsageError("diff needs a FILE, or - for standard input");
    const std::string& path = file_.Value();
    StayWithTheBackend();
    RecordWriter writer(DifferenceLayout(), options_.Choices());
    const Catalogue wanted = ReadCatalogueDocument(ReadInput(path), InputName(path));
    const auto differences = CompareCatalogues(ReadLiveCatalogue().catalogue, wanted);
    AddDifferences(differences, differences.size(), &writer);
    output->text += writer.Text();
    return differences.empty() ? ExitStatus::kDone : ExitStatus::kNo;
  }

 private:
  Argument file_;
  ListingOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeDiffCommand() {
  return std::make_unique<DiffCommand>();
}

}  // namespace Quorctl
