#include <cstdint>
#include <limits>
#include <set>
#include <utility>
#include <vector>

#include "argument.h"
#include "catalogue/catalogue.h"
#include "command_table.h"
#include "host_backend.h"
#include "platform/feature_list.h"
#include "quor/quor_lib.h"
#include "stored_records.h"
#include "text/terminal_text.h"

namespace Quorctl {

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;

namespace {

using Digests = std::pair<std::string, std::string>;

void UseStore(bool usesConfigStore) {
  HostPlatform::OverrideFeature(kFeatureQuorUsesConfigStore, usesConfigStore);
}

Catalogue ReadAll() {
  const StoredRecords stored;
  Catalogue catalogue;
  catalogue.policies = QuorLib::ListPolicyInfo();
  catalogue.datastores = QuorLib::ListDatastoreInfo();
  stored.ExpectPolicies(catalogue.policies.size());
  stored.ExpectDatastores(catalogue.datastores.size());
  return catalogue;
}

// What the configuration store would not keep as it is: records and blobs that share a key, and
// blobs without a namespace.
std::vector<std::string> LostInStore(const Catalogue& catalogue) {
  std::vector<std::string> losses;
  std::set<std::string> names;
  for (const QuorPolicyInfo& policy : catalogue.policies) {
    const std::string who = "policy " + Quoted(policy.name);
    if (!names.insert(policy.name).second) losses.push_back(who + ": there are two of that name");
    std::set<std::string> namespaces;
    for (const auto& [blob, blobNamespace] : policy.blobs) {
      if (blobNamespace.empty()) losses.push_back(who + ": a blob has no namespace");
      if (!namespaces.insert(blobNamespace).second) {
        losses.push_back(who + ": two blobs for namespace " + Quoted(blobNamespace));
      }
    }
  }
  std::set<std::string> urls;
  for (const QuorDatastoreInfo& datastore : catalogue.datastores) {
    if (!urls.insert(datastore.url).second) {
      losses.push_back("datastore " + Quoted(datastore.url) + ": there are two of that URL");
    }
  }
  return losses;
}

// What the configuration file would not keep as it is: it reads generation numbers with 32 bits.
std::vector<std::string> LostInFile(const Catalogue& catalogue) {
  std::vector<std::string> losses;
  for (const QuorPolicyInfo& policy : catalogue.policies) {
    const std::int64_t number = policy.generationNumber;
    if (number < std::numeric_limits<std::int32_t>::min() ||
        number > std::numeric_limits<std::int32_t>::max()) {
      losses.push_back("policy " + Quoted(policy.name) + ": generation number " +
                       std::to_string(number) + " does not fit 32 bits");
    }
  }
  return losses;
}

class MigrateCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "migrate",
        {"--to store|file"},
        "copy the catalogue from the other host store",
        "Replaces what the given host store holds by the catalogue of the other one and\n"
        "compares the digests of both. What the given one could not keep as it is gets\n"
        "named, with exit status 1, before anything is written. The switch is left as it\n"
        "is: see quorctl help switch.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    target_.Declare(verb, "--to", "CHOICE",
                    "store: the configuration store; file: the configuration file");
  }

  ExitStatus Run(CommandOutput* output) override {
    if (!target_.Given()) throw UsageError("migrate needs --to store or --to file");
    const std::string& target = target_.Value();
    if (target != "store" && target != "file") {
      throw UsageError("unknown choice " + Quoted(target) + "; choose store or file");
    }
    const bool toStore = target == "store";
    UseStore(!toStore);
    const Catalogue catalogue = ReadAll();
    const Digests before = QuorLib::GetDbHash();
    const auto losses = toStore ? LostInStore(catalogue) : LostInFile(catalogue);
    if (!losses.empty()) {
      for (const std::string& loss : losses)
        output->text += loss + '\n';
      throw CommandError(ExitStatus::kNo, "the " + BackendName(toStore) +
                                              " cannot keep this catalogue as it is; nothing was "
                                              "written");
    }
    UseStore(toStore);
    QuorLib::AddPolicyInfo(catalogue.policies);
    output->changedHost = true;
    QuorLib::AddDatastoreInfo(catalogue.datastores);
    if (QuorLib::GetDbHash() != before) {
      throw CommandError(ExitStatus::kStore,
                         "the digests differ after the copy: another process changed one of the "
                         "stores meanwhile; run migrate again");
    }
    output->text += "copied " + std::to_string(catalogue.policies.size()) + " policies and " +
                    std::to_string(catalogue.datastores.size()) + " datastores to the " +
                    BackendName(toStore) + " in " + HostPlatform::HostDirectory() +
                    "; the digests are equal\n";
    return ExitStatus::kDone;
  }

 private:
  Argument target_;
};

}  // namespace

std::unique_ptr<Command> MakeMigrateCommand() {
  return std::make_unique<MigrateCommand>();
}

}  // namespace Quorctl
