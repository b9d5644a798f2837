// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "applied_document.h"
#include "argument.h"
#include "catalogue_change.h"
#include "command_table.h"
#include "history.h"
#include "host_backend.h"
#include "input_file.h"
#include "interrupted_change.h"
#include "yaml_document.h"

namespace Quorctl {
namespace {

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
        {"[--policies-only | --datastores-only] [CHANGE OPTION]... FILE|-",
         "--resume [CHANGE OPTION]..."},
        "replace the whole catalogue by that of a document",
        "Reads the document, from standard input for \"-\", and makes its contents the\n"
        "catalogue of this host: what is not in the document is deleted. Shows what is\n"
        "deleted, added and changed. What deletes something is asked for on a terminal and\n"
        "needs --yes elsewhere (exit status 8). The catalogue that was there is kept: see\n"
        "\"quorctl help history\". A document that \"quorctl export\" wrote is refused, with exit\n"
        "status 9, when the catalogue has become another one since. Where the datastores\n"
        "cannot be replaced after the policies were, the policies are put back. Where nothing\n"
        "differs nothing is written, unless \"quorctl check\" tells of records that to write\n"
        "all anew would heal; nor is it unless the whole document is right. With --no-history\n"
        "also records that cannot be read are replaced. A change that was killed half-way is\n"
        "ended by --resume, or taken back by \"quorctl restore --last\". The document is\n"
        "JSON of this shape, or YAML of the same one, all keys required:\n"
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
    DeclareFlag(verb, "--policies-only", &policiesOnly_, "leave the datastores as they are");
    DeclareFlag(verb, "--datastores-only", &datastoresOnly_, "leave the policies as they are");
    DeclareFlag(verb, "--force", &force_, "apply what is based on another catalogue too");
    DeclareFlag(verb, "--create", &create_, "make the directory of --root where it is not there");
    DeclareFlag(verb, "--resume", &resume_, "end the change that was interrupted");
    options_.Declare(verb);
  }

  bool MakesHost() const override { return create_; }

  ExitStatus Run(CommandOutput* output) override {
    if (resume_) return Resume(output);
    if (!file_.Given()) throw UsageError("apply needs a FILE, or - for standard input");
    if (policiesOnly_ && datastoresOnly_) {
      throw UsageError("--policies-only and --datastores-only exclude each other");
    }
    const HostPlatform::FeatureState selected = BackendSwitch();
    UseBackend(selected.on);
    ProgressLine progress;
    progress.Begin("reading the document");
    const std::string& path = file_.Value();
    Catalogue catalogue = ReadAppliedDocument(ReadDocument(path), InputName(path));
    ExpectReadable(selected);
    ChangeRequest request = RequestFor("apply", catalogue);
    request.replacesPolicies = !datastoresOnly_;
    request.replacesDatastores = !policiesOnly_;
    request.mayAsk = file_.Value() != "-";
    request.obeysBasis = !force_;
    return ChangeCatalogue(request, options_, std::move(catalogue), &progress, output);
  }

 private:
  ExitStatus Resume(CommandOutput* output) {
    if (file_.Given() || policiesOnly_ || datastoresOnly_ || force_) {
      throw UsageError("--resume goes without a FILE and what tells how to apply it");
    }
    ExpectReadable(BackendSwitch());
    const std::vector<HistoryEntry> interrupted = ListInterrupted();
    if (interrupted.empty()) throw CommandError(ExitStatus::kAbsent, "no change was interrupted");
    const HistoryEntry& entry = interrupted.front();
    UseBackend(entry.inStore);
    ProgressLine progress;
    Catalogue catalogue = ReadHistoryEntry(entry);
    const ChangeRequest request = RequestFor(entry.reason, catalogue);
    return ChangeCatalogue(request, options_, std::move(catalogue), &progress, output);
  }

  ChangeRequest RequestFor(const std::string& verb, const Catalogue& catalogue) const {
    const std::string summary = Summary(catalogue);
    return {verb, "apply " + summary + " to", "applied " + summary + " to"};
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
  bool force_ = false;
  bool create_ = false;
  bool resume_ = false;
  ChangeOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeApplyCommand() {
  return std::make_unique<ApplyCommand>();
}

}  // namespace Quorctl
