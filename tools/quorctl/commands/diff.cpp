// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "argument.h"
#include "backend_choice.h"
#include "catalogue/document_reader.h"
#include "command_table.h"
#include "difference_layout.h"
#include "global_options.h"
#include "history.h"
#include "input_file.h"
#include "listing_options.h"
#include "live_catalogue.h"
#include "option_values.h"
#include "yaml_document.h"

namespace Quorctl {
namespace {

class DiffCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "diff",
        {std::string("NEW ") + ListingOptions::kSynopsis,
         std::string("OLD NEW ") + ListingOptions::kSynopsis,
         std::string("--other-root DIR ") + ListingOptions::kSynopsis},
        "compare the catalogue with a document, or two",
        "Tells what \"quorctl apply NEW\" would change: first what it would delete, then\n"
        "what it would add, then what it would change: which fields, from which value to\n"
        "which (of a blob the namespace and the sizes). Nothing is printed and the exit status\n"
        "is 0 when the catalogue holds the same records already, in whatever order; it is 1\n"
        "when there are differences. A policy that got another name but kept its\n"
        "identifier is changed.\n"
        "\n"
        "NEW and OLD are documents (- for standard input) or numbers of the history; without\n"
        "OLD it is this host's catalogue. A file whose name is a number is named ./12. With\n"
        "--other-root the catalogue of another host directory takes the place of NEW.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    first_.Declare(verb, "OLD", "", "a document or a number of the history; alone it is NEW");
    second_.Declare(verb, "NEW", "", "the same");
    otherRoot_.Declare(verb, "--other-root", "DIR", "compare with the host directory DIR");
    options_.Declare(verb);
  }

  const RecordLayout* Lists(const std::string& /*kind*/) const override {
    return &DifferenceLayout();
  }

  ExitStatus Run(CommandOutput* output) override {
    if (first_.Given() == otherRoot_.Given()) {
      throw UsageError("diff needs a document, - for standard input, a number or --other-root");
    }
    RecordWriter writer(DifferenceLayout(), options_.Choices());
    Catalogue wanted;
    if (first_.Given()) wanted = Named(second_.Given() ? second_.Value() : first_.Value());
    const Catalogue present = second_.Given() ? Named(first_.Value()) : LiveCatalogueOfHost();
    if (otherRoot_.Given()) {
      UseHost(otherRoot_, "--other-root", /*mayMakeHost=*/false);
      wanted = LiveCatalogueOfHost();
    }
    const auto differences = CompareCatalogues(present, wanted);
    AddDifferences(differences, differences.size(), &writer);
    output->text += writer.Text();
    return differences.empty() ? ExitStatus::kDone : ExitStatus::kNo;
  }

 private:
  static Catalogue Named(const std::string& word) {
    if (word.find_first_not_of("0123456789") == word.npos) {
      return ReadHistoryEntry(FindHistoryEntry(NumberIn(word, "number of the history")));
    }
    return ReadCatalogueDocument(ReadDocument(word), InputName(word));
  }

  static Catalogue LiveCatalogueOfHost() {
    StayWithTheBackend();
    return ReadLiveCatalogue().catalogue;
  }

  Argument first_;
  Argument second_;
  Argument otherRoot_;
  ListingOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeDiffCommand() {
  return std::make_unique<DiffCommand>();
}

}  // namespace Quorctl
