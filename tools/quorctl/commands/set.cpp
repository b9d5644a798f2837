// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <type_traits>

#include "command_table.h"
#include "record_edit.h"
#include "record_names.h"

namespace Quorctl {
namespace {

void RemoveBlob(const std::string& blobNamespace, Blobs* blobs) {
  const auto isIt = [&](const auto& entry) { return entry.second == blobNamespace; };
  if (std::erase_if(*blobs, isIt) > 0) return;
  throw CommandError(ExitStatus::kAbsent, "there is no blob for " + Quoted(blobNamespace));
}

class SetCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "set",
        {"policy KEY [FIELD=VALUE]... [BLOB OPTION]... [CHANGE OPTION]...",
         "datastore URL FIELD=VALUE... [CHANGE OPTION]..."},
        "change one policy or one datastore",
        "Changes fields of the policy with that identifier, else of that name, or of the\n"
        "datastore, under the terms of apply: shows what differs, asks or needs --yes where\n"
        "something is lost, and keeps both catalogues in the history. Fields have the names\n"
        "that \"quorctl get -o json\" shows. generation=+1 adds to the number. Where several\n"
        "policies have the name nothing is changed. A change by another process meanwhile is\n"
        "kept: only this record is set.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    record_.Declare(verb);
    fields_.Declare(verb);
    removed_.Declare(verb, "--no-blob", "NAMESPACE", "remove the policy's blob for the namespace");
    options_.Declare(verb);
  }

  ExitStatus Run(CommandOutput* output) override {
    const bool isPolicy = record_.IsPolicy("set");
    fields_.Read(isPolicy);
    if (!isPolicy && !removed_.Values().empty()) throw UsageError("only policies have blobs");
    if (!fields_.Any() && removed_.Values().empty()) {
      throw UsageError("nothing is to be set; give FIELD=VALUE");
    }
    const std::string what = "set " + record_.InWords() + " in";
    ChangeRequest request{"set", what, what};
    request.mayAsk = !fields_.UseInput();
    const auto edit = [&](Catalogue* catalogue) {
      isPolicy ? Edit(&catalogue->policies) : Edit(&catalogue->datastores);
    };
    return EditCatalogue(request, options_, edit, output);
  }

 private:
  template <typename Record>
  void Edit(std::vector<Record>* records) const {
    const std::size_t index = FindOne(*records, record_.Key());
    const Record before = (*records)[index];
    if constexpr (std::is_same_v<Record, TavQuor::QuorPolicyInfo>) {
      for (const std::string& blobNamespace : removed_.Values())
        RemoveBlob(blobNamespace, &(*records)[index].blobs);
    }
    fields_.SetOn(&(*records)[index]);
    ExpectStorable(*records, index, before);
  }

  RecordWords record_;
  FieldWords fields_;
  Arguments removed_;
  ChangeOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeSetCommand() {
  return std::make_unique<SetCommand>();
}

}  // namespace Quorctl
