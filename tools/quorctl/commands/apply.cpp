// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "argument.h"
#include "backend_choice.h"
#include "catalogue/document_reader.h"
#include "catalogue/document_rules.h"
#include "catalogue_change.h"
#include "command_table.h"
#include "host_backend.h"
#include "input_file.h"
#include "store_limits.h"

namespace Quorctl {
namespace {

Catalogue ReadAndCheck(const std::string& path) {
  const std::string source = InputName(path);
  Catalogue catalogue = ReadCatalogueDocument(ReadInput(path), source);
  const bool inStore = BackendSwitch().on;
  ExpectUniqueKeys(catalogue, source,
                   inStore ? "only one of the two would be kept"
                           : "only the first of the two would be found by it");
  if (inStore) {
    ExpectBlobNamespaces(catalogue, source,
                         "the configuration store keeps no blob without a namespace");
  }
  const std::vector<std::string> losses = LostIn(inStore, catalogue);
  if (losses.empty()) return catalogue;
  throw CommandError(ExitStatus::kBadInput, source + ": " + losses.front() + "; the " +
                                                BackendName(inStore) + " would not keep it");
}

std::string Counted(std::size_t count, const std::string& singular, const std::string& plural) {
  return std::to_string(count) + ' ' + (count == 1 ? singular : plural);
}

std::string BlobCount(const Catalogue& catalogue) {
  std::size_t blobs = 0;
  for (const auto& policy : catalogue.policies)
    blobs += policy.blobs.size();
  return Counted(blobs, "blob", "blobs");
}

class ApplyCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "apply",
        {"[--policies-only | --datastores-only] [CHANGE OPTION]... FILE|-"},
        "replace the whole catalogue by that of a document",
        "Reads the document, from standard input for \"-\", and makes its contents the\n"
        "catalogue of this host: what is not in the document is deleted. Shows what is\n"
        "deleted, added and changed. What deletes something is asked for on a terminal and\n"
        "needs --yes elsewhere (exit status 8). The catalogue that was there is kept: see\n"
        "\"quorctl help history\". Where the datastores cannot be replaced after the policies\n"
        "were, the policies are put back. Where nothing differs nothing is written, unless\n"
        "\"quorctl check\" tells of records that to write all anew would heal; nor is it\n"
        "unless the whole document is right. With --no-history also records that cannot be\n"
        "read are replaced. The document is JSON of this shape, all keys required:\n"
        "\n"
        "  {\"format\": \"quor-catalogue/1\",\n"
        "   \"policies\": [{\"id\": \"gold-01\", \"name\": \"Gold\", \"description\": \"\",\n"
        "                 \"generation\": 1,\n"
        "                 \"blobs\": [{\"namespace\": \"RILK\", \"text\": \"copies = 2\"},\n"
        "                           {\"namespace\": \"VOLB\", \"base64\": \"AAEC\"}]}],\n"
        "   \"datastores\": [{\"url\": \"ds:///volumes/a1/\", \"namespace\": \"VOLB\",\n"
        "                   \"defaultPolicy\": \"gold-01\"}]}\n"
        "\n"
        "A string that is not UTF-8 is written {\"base64\": \"...\"}. Names of policies, URLs of\n"
        "datastores and the namespaces of one policy must not repeat.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    file_.Declare(verb, "FILE", "", "the document; - for standard input");
    verb.add_flag("--policies-only", policiesOnly_, "leave the datastores as they are");
    verb.add_flag("--datastores-only", datastoresOnly_, "leave the policies as they are");
    options_.Declare(verb);
  }

  ExitStatus Run(CommandOutput* output) override {
    if (!file_.Given()) throw UsageError("apply needs a FILE, or - for standard input");
    if (policiesOnly_ && datastoresOnly_) {
      throw UsageError("--policies-only and --datastores-only exclude each other");
    }
    const HostPlatform::FeatureState selected = BackendSwitch();
    UseBackend(selected.on);
    ProgressLine progress;
    progress.Begin("reading the document");
    Catalogue catalogue = ReadAndCheck(file_.Value());
    ExpectReadable(selected);
    const std::string summary = Summary(catalogue);
    ChangeRequest request{"apply"};
    request.replacesPolicies = !datastoresOnly_;
    request.replacesDatastores = !policiesOnly_;
    request.mayAsk = file_.Value() != "-";
    const ChangeResult result =
        ChangeCatalogue(request, options_, std::move(catalogue), &progress, output);
    output->text += TextOf(result, summary) + '\n' + NoteOfAnotherBackend();
    return ExitStatus::kDone;
  }

 private:
  static std::string TextOf(ChangeResult result, const std::string& summary) {
    const std::string place = SelectedBackendPlace();
    switch (result) {
      case ChangeResult::kNothingDiffers:
        return "nothing differs from " + place + "; nothing was written";
      case ChangeResult::kDryRun:
        return "would apply " + summary + " to " + place + "; nothing was written";
      default:
        return "applied " + summary + " to " + place;
    }
  }

  std::string Summary(const Catalogue& catalogue) const {
    std::string policies = Counted(catalogue.policies.size(), "policy", "policies") + " (" +
                           BlobCount(catalogue) + ")";
    const std::string datastores = Counted(catalogue.datastores.size(), "datastore", "datastores");
    if (policiesOnly_) return policies;
    return datastoresOnly_ ? datastores : policies + " and " + datastores;
  }

  Argument file_;
  bool policiesOnly_ = false;
  bool datastoresOnly_ = false;
  ChangeOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeApplyCommand() {
  return std::make_unique<ApplyCommand>();
}

}  // namespace Quorctl
