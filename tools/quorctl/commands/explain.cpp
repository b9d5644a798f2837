// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "argument.h"
#include "backend_choice.h"
#include "catalogue/losses.h"
#include "command_table.h"
#include "host_backend.h"
#include "live_catalogue.h"
#include "record_names.h"
#include "text/table.h"

namespace Quorctl {

using TavQuor::QuorLib;

namespace {

std::string FirstOf(std::size_t count, const std::string& key) {
  return count == 1 ? "" : " (the first of " + std::to_string(count) + " with this " + key + ")";
}

class ExplainCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "explain",
        {"URL [--policy-id ID]"},
        "tell why a datastore gets a policy's blob, or none",
        "Makes the call by which a daemon asks for the blob of the datastore's default policy,\n"
        "or of the one with --policy-id, and tells step by step what it finds: the datastore,\n"
        "its namespace and default policy, the policy, its blob for the namespace. The last\n"
        "line is the call's answer, and where it is empty, or an exception, the reason. The\n"
        "exit status is 0 when there is a blob, and 3 when there is none.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    url_.Declare(verb, "URL", "", "the datastore");
    policyId_.Declare(verb, "--policy-id", "ID", "this policy, in place of the default one");
  }

  ExitStatus Run(CommandOutput* output) override {
    if (!url_.Given() || url_.Value().empty()) throw UsageError("explain needs a datastore's URL");
    ExpectReadable(BackendSwitch());
    StayWithTheBackend();
    const LiveCatalogue live = ReadLiveCatalogue(/*complete=*/false);
    LabelledLines lines;
    lines.Add("datastore:", url_.Value());
    const std::string reason = Walk(live, &lines);
    bool found = false;
    try {
      const std::string blob = Ask();
      found = !blob.empty();
      const std::string size = Counted(blob.size(), "byte", "bytes");
      lines.Add("answer:",
                found ? size + (reason.empty() ? "" : ", although " + reason) : "empty: " + reason);
    } catch (const Brisk::Lib::BriskException& failure) {
      lines.Add("answer:", std::string("an exception: ") + failure.what() +
                               "; \"quorctl check\" names the record and what to do");
    }
    if (!live.stamp.IsCurrent()) {
      throw CommandError(ExitStatus::kStore, "the catalogue was changed meanwhile; ask again");
    }
    output->text += lines.Text();
    return found ? ExitStatus::kDone : ExitStatus::kAbsent;
  }

 private:
  std::string Ask() const {
    return policyId_.Given() ? QuorLib::GetPolicyBlobById(policyId_.Value(), url_.Value())
                             : QuorLib::GetDefaultPolicyBlob(url_.Value());
  }

  // Adds the steps of the lookup up to the one that ends it, with the reason. Adds nothing if a
  // blob is found.
  std::string Walk(const LiveCatalogue& live, LabelledLines* lines) const {
    const auto& policies = live.catalogue.policies;
    const std::size_t lost = live.lostPolicies + live.lostDatastores;
    const std::string unreadable =
        lost == 0 ? "" : " among those that can be read; \"quorctl check\" names the others";
    const auto datastores = FindByKey(live.catalogue.datastores, url_.Value());
    if (datastores.empty()) return "there is no such datastore" + unreadable;
    const auto& datastore = live.catalogue.datastores[datastores.front()];
    const std::string& wanted = datastore.datastoreNamespace;
    lines->Add("namespace:", (wanted.empty() ? "-" : wanted) + FirstOf(datastores.size(), "URL"));
    const std::string& id = policyId_.Given() ? policyId_.Value() : datastore.defaultPolicyId;
    if (id.empty() && !policyId_.Given()) return "the datastore has no default policy";
    lines->Add(policyId_.Given() ? "policy asked for:" : "default policy:", id);
    if (BackendSwitch().on && (id.empty() || wanted.empty())) {
      return id.empty() ? "the identifier is empty" : "the datastore has no namespace";
    }
    const auto found = FindByKey(policies, id);
    const bool isName = !found.empty() && policies[found.front()].policyId != id;
    if (found.empty() || isName) {
      return "there is no policy with the identifier " + Quoted(id) + unreadable +
             (isName ? "; the policy of that name has the identifier " +
                           Quoted(policies[found.front()].policyId)
                     : "");
    }
    lines->Add("policy:", policies[found.front()].name + FirstOf(found.size(), "identifier"));
    if (const std::string* const blob = FindBlob(policies[found.front()], wanted)) {
      lines->Add("blob:", Counted(blob->size(), "byte", "bytes"));
      return blob->empty() ? "the blob is empty" : "";
    }
    for (const std::size_t hidden : found) {
      if (!FindBlob(policies[hidden], wanted)) continue;
      return "the policy has no blob for the namespace; " + Quoted(policies[hidden].name) +
             ", which has one, is hidden behind it";
    }
    return "the policy has no blob for the namespace";
  }

  Argument url_;
  Argument policyId_;
};

}  // namespace

std::unique_ptr<Command> MakeExplainCommand() {
  return std::make_unique<ExplainCommand>();
}

}  // namespace Quorctl
