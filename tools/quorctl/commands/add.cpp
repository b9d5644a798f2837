// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "command_table.h"
#include "record_edit.h"

namespace Quorctl {

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorPolicyInfo;

namespace {

class AddCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "add",
        {"policy ID NAME [FIELD=VALUE]... [BLOB OPTION]... [CHANGE OPTION]...",
         "datastore URL [FIELD=VALUE]... [CHANGE OPTION]..."},
        "add one policy or one datastore",
        "Adds a record under the terms of apply: shows what differs, and keeps both catalogues\n"
        "in the history. Fields have the names that \"quorctl get -o json\" shows; those that\n"
        "are not given are empty, and the generation is 0. Where another record has the\n"
        "identifier, name or URL nothing is changed, and the exit status is 4.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    record_.Declare(verb);
    fields_.Declare(verb);
    options_.Declare(verb);
  }

  ExitStatus Run(CommandOutput* output) override {
    const bool isPolicy = record_.IsPolicy("add");
    if (record_.Key().empty()) throw UsageError("add: the identifier or URL is empty");
    fields_.Read(isPolicy);
    const std::string name = isPolicy ? fields_.TakeName() : "";
    const std::string what = record_.InWords() + " to";
    ChangeRequest request{"add", "add " + what, "added " + what};
    request.mayAsk = !fields_.UseInput();
    const auto edit = [&](Catalogue* catalogue) {
      isPolicy ? Add(QuorPolicyInfo{{}, name, record_.Key(), "", 0}, &catalogue->policies)
               : Add(QuorDatastoreInfo{record_.Key(), "", ""}, &catalogue->datastores);
    };
    return EditCatalogue(request, options_, edit, output);
  }

 private:
  template <typename Record>
  void Add(Record record, std::vector<Record>* records) const {
    fields_.SetOn(&record);
    records->push_back(std::move(record));
    ExpectStorable(*records, records->size() - 1, Record());
  }

  RecordWords record_;
  FieldWords fields_;
  ChangeOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeAddCommand() {
  return std::make_unique<AddCommand>();
}

}  // namespace Quorctl
