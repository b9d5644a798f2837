// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <algorithm>

#include "command_table.h"
#include "record_edit.h"
#include "record_names.h"

namespace Quorctl {
namespace {

class RenameCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "rename",
        {"policy KEY [id=NEW] [name=NEW] [--defaults] [CHANGE OPTION]...",
         "datastore URL url=NEW [CHANGE OPTION]..."},
        "give a policy or a datastore another identifier, name or URL",
        "Renames the policy with that identifier, else of that name, or the datastore, under\n"
        "the terms of apply: programs that use the old name find nothing by it, so this is\n"
        "asked for or needs --yes. With --defaults the datastores whose default policy has\n"
        "the old identifier get the new one; without, they keep it, and are named.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    record_.Declare(verb);
    names_.Declare(verb, "FIELD=NEW", "", "the new identifier, name or URL");
    DeclareFlag(verb, "--defaults", &defaults_, "also of the datastores' default policies");
    options_.Declare(verb);
  }

  ExitStatus Run(CommandOutput* output) override {
    const bool isPolicy = record_.IsPolicy("rename");
    ExpectNames(isPolicy);
    const std::string what = record_.InWords() + " in";
    ChangeRequest request{"rename", "rename " + what, "renamed " + what};
    if (!defaults_) request.advice = "--defaults gives the datastores the new identifier\n";
    const auto edit = [&](Catalogue* catalogue) {
      if (!isPolicy) {
        Rename(&catalogue->datastores);
        return;
      }
      const auto [before, after] = Rename(&catalogue->policies);
      if (!defaults_ || before.empty()) return;
      for (auto& datastore : catalogue->datastores) {
        if (datastore.defaultPolicyId == before) datastore.defaultPolicyId = after;
      }
    };
    return EditCatalogue(request, options_, edit, output);
  }

 private:
  // The names are the first fields.
  void ExpectNames(bool isPolicy) const {
    const std::vector<std::string> known =
        isPolicy ? std::vector<std::string>{"id", "name"} : std::vector<std::string>{"url"};
    const std::string form = isPolicy ? "id=NEW or name=NEW" : "url=NEW";
    if (names_.Values().empty()) throw UsageError("rename to what? give " + form);
    for (const std::string& word : names_.Values()) {
      const std::string field = SplitWord(word, form).first;
      if (std::find(known.begin(), known.end(), field) != known.end()) continue;
      throw UsageError("rename takes no " + Quoted(field) + "; give " + form);
    }
    if (defaults_ && !isPolicy) throw UsageError("--defaults goes with policies only");
  }

  // The first name before and after.
  template <typename Record>
  std::pair<std::string, std::string> Rename(std::vector<Record>* records) const {
    const std::size_t index = FindOne(*records, record_.Key());
    Record& record = (*records)[index];
    const Record before = record;
    for (const std::string& word : names_.Values())
      SetField(word, &record);
    ExpectStorable(*records, index, before);
    return {*NamesOf(before).front(), *NamesOf(record).front()};
  }

  RecordWords record_;
  Arguments names_;
  bool defaults_ = false;
  ChangeOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeRenameCommand() {
  return std::make_unique<RenameCommand>();
}

}  // namespace Quorctl
