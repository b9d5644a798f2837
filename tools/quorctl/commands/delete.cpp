// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "command_table.h"
#include "record_edit.h"
#include "record_names.h"

namespace Quorctl {
namespace {

class DeleteCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "delete",
        {std::string("policy KEY ") + ChangeOptions::kSynopsis,
         std::string("datastore URL ") + ChangeOptions::kSynopsis},
        "delete one policy or one datastore",
        "Deletes the policy with that identifier, else of that name, or the datastore, under\n"
        "the terms of apply: asks or needs --yes, and keeps both catalogues in the history.\n"
        "Datastores whose default policy it is are named, and keep the identifier. Where\n"
        "several policies have the name nothing is changed.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    record_.Declare(verb);
    options_.Declare(verb);
  }

  ExitStatus Run(CommandOutput* output) override {
    const bool isPolicy = record_.IsPolicy("delete");
    const std::string what = record_.InWords() + " from";
    ChangeRequest request{"delete", "delete " + what, "deleted " + what};
    request.advice = "\"quorctl set datastore URL defaultPolicy=ID\" gives one another default\n";
    const auto edit = [&](Catalogue* catalogue) {
      isPolicy ? Delete(&catalogue->policies) : Delete(&catalogue->datastores);
    };
    return EditCatalogue(request, options_, edit, output);
  }

 private:
  template <typename Record>
  void Delete(std::vector<Record>* records) const {
    records->erase(records->begin() +
                   static_cast<std::ptrdiff_t>(FindOne(*records, record_.Key())));
  }

  RecordWords record_;
  ChangeOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeDeleteCommand() {
  return std::make_unique<DeleteCommand>();
}

}  // namespace Quorctl
