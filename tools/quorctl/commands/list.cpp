#include "argument.h"
#include "catalogue/document_writer.h"
#include "command_table.h"
#include "quor/quor_lib.h"
#include "stored_records.h"
#include "text/table.h"
#include "text/terminal_text.h"

namespace Quorctl {

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;

namespace {

// "RILK:512 VOLB:96": each namespace with the size of its blob.
std::string BlobSizes(const QuorPolicyInfo& policy) {
  std::string sizes;
  for (const auto& [blob, blobNamespace] : policy.blobs) {
    if (!sizes.empty()) sizes += ' ';
    sizes += blobNamespace + ':' + std::to_string(blob.size());
  }
  return sizes;
}

std::string PoliciesAsTable(const std::vector<QuorPolicyInfo>& policies) {
  Table table({{"NAME"}, {"ID"}, {"GENERATION", Table::Align::kRight}, {"BLOBS"}, {"DESCRIPTION"}});
  for (const QuorPolicyInfo& policy : policies) {
    table.AddRow({policy.name, policy.policyId, std::to_string(policy.generationNumber),
                  BlobSizes(policy), policy.description});
  }
  return table.Text();
}

std::string DatastoresAsTable(const std::vector<QuorDatastoreInfo>& datastores) {
  Table table({{"URL"}, {"NAMESPACE"}, {"DEFAULT POLICY"}});
  for (const QuorDatastoreInfo& datastore : datastores) {
    table.AddRow({datastore.url, datastore.datastoreNamespace, datastore.defaultPolicyId});
  }
  return table.Text();
}

class ListCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "list",
        {"policies [-o table|json]", "datastores [-o table|json]"},
        "list the policies or the datastores",
        "Lists in the order in which the records are stored.\n"
        "table  for reading: BLOBS holds namespace:bytes for each blob, \"-\" stands for\n"
        "       nothing, and what could harm a terminal is shown as \\xHH or \\uHHHH\n"
        "json   the exact contents: an array as it stands in a catalogue document, so that\n"
        "       {\"format\": \"quor-catalogue/1\", \"policies\": [...], \"datastores\": [...]}\n"
        "       made from the two listings can be given to \"quorctl apply\"\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    kind_.Declare(verb, "KIND", "", "policies or datastores");
    format_.Declare(verb, "-o,--output", "FORMAT", "table (as without this option) or json");
  }

  ExitStatus Run(CommandOutput* output) override {
    if (!kind_.Given()) throw UsageError("list what? policies or datastores");
    const bool asJson = IsJsonWanted();
    const StoredRecords stored;
    if (kind_.Value() == "policies") {
      const auto policies = QuorLib::ListPolicyInfo();
      output->text += asJson ? PoliciesAsJson(policies) : PoliciesAsTable(policies);
      stored.ExpectPolicies(policies.size());
    } else if (kind_.Value() == "datastores") {
      const auto datastores = QuorLib::ListDatastoreInfo();
      output->text += asJson ? DatastoresAsJson(datastores) : DatastoresAsTable(datastores);
      stored.ExpectDatastores(datastores.size());
    } else {
      throw UsageError("cannot list " + Quoted(kind_.Value()) + "; choose policies or datastores");
    }
    return ExitStatus::kDone;
  }

 private:
  bool IsJsonWanted() const {
    if (!format_.Given() || format_.Value() == "table") return false;
    if (format_.Value() == "json") return true;
    throw UsageError("unknown output format " + Quoted(format_.Value()) + "; choose table or json");
  }

  Argument kind_;
  Argument format_;
};

}  // namespace

std::unique_ptr<Command> MakeListCommand() {
  return std::make_unique<ListCommand>();
}

}  // namespace Quorctl
