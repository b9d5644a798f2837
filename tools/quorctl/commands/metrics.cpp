// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <ctime>
#include <map>
#include <utility>

#include "check/catalogue_content.h"
#include "check/finding.h"
#include "check/host_files.h"
#include "check/stored_content.h"
#include "command_table.h"
#include "host_backend.h"
#include "platform/admin.h"
#include "quor/quor_lib.h"
#include "stored_records.h"

namespace Quorctl {

using HostPlatform::LockState;
using HostPlatform::StoredFile;
using TavQuor::QuorLib;

namespace {

using Labels = std::vector<std::pair<std::string, std::string>>;

// Bytes that are not ASCII become question marks: a parser wants UTF-8, and nobody else looks.
std::string Escaped(const std::string& value) {
  std::string text;
  for (const char c : value) {
    if (c == '\\' || c == '"') text += '\\';
    if (c == '\n') {
      text += "\\n";
    } else {
      text += static_cast<unsigned char>(c) < 0x80 ? c : '?';
    }
  }
  return text;
}

// OpenMetrics text. All are gauges, which every reader of the older format understands too.
class MetricsText {
 public:
  void Begin(const std::string& name, const std::string& unit, const std::string& help) {
    name_ = name;
    text_ += "# TYPE " + name + " gauge\n";
    if (!unit.empty()) text_ += "# UNIT " + name + ' ' + unit + '\n';
    text_ += "# HELP " + name + ' ' + help + '\n';
  }
  void Add(const Labels& labels, std::int64_t value) {
    text_ += name_;
    const char* separator = "{";
    for (const auto& [label, content] : labels) {
      text_ += separator + label + "=\"" + Escaped(content) + '"';
      separator = ",";
    }
    text_ += (labels.empty() ? " " : "} ") + std::to_string(value) + '\n';
  }
  std::string Text() const { return text_ + "# EOF\n"; }

 private:
  std::string name_;
  std::string text_;
};

StoredFile SelectedFile(bool configStore) {
  if (!configStore) return HostPlatform::GetConfigFileState();
  const HostPlatform::ConfigStoreState state = HostPlatform::GetConfigStoreState();
  const StoredFile& file = state;
  return file;
}

std::string LastPart(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

// Asks the library for counts and digests. Returns false if it raises, which counts as a finding.
bool AddCatalogue(bool configStore, MetricsText* text, Findings* findings) {
  Catalogue catalogue;
  std::pair<std::string, std::string> digests;
  const StoredRecords stored;
  try {
    catalogue.policies = QuorLib::ListPolicyInfo();
    catalogue.datastores = QuorLib::ListDatastoreInfo();
    digests = QuorLib::GetDbHash();
  } catch (const Brisk::Lib::BriskException& failure) {
    if (HostPlatform::IsPermissionFailure(failure)) throw;
    findings->push_back({Severity::kError, SelectedBackendPlace(), failure.what(), ""});
    return false;
  }
  CheckDuplicates(catalogue, findings);
  const bool policiesLost = stored.LostPolicies(catalogue.policies.size()) > 0;
  CheckDefaultPolicies(catalogue, policiesLost, findings);
  text->Begin("quor_policies", "", "Policies that programs of this host get.");
  text->Add({}, static_cast<std::int64_t>(catalogue.policies.size()));
  text->Begin("quor_datastores", "", "Datastores that programs of this host get.");
  text->Add({}, static_cast<std::int64_t>(catalogue.datastores.size()));
  text->Begin("quor_catalogue_digests", "", "Always 1; the digests and the store are its labels.");
  text->Add({{"policies", digests.first},
             {"datastores", digests.second},
             {"store", configStore ? "store" : "file"}},
            1);
  return true;
}

void AddLastCommit(const StoredFile& file, MetricsText* text) {
  if (!file.exists) return;
  text->Begin("quor_last_commit_timestamp_seconds", "seconds",
              "When the store that is in use was last replaced.");
  text->Add({}, file.modified);
  text->Begin("quor_last_commit_age_seconds", "seconds",
              "How long ago that was, when this was written.");
  text->Add({}, std::max<std::int64_t>(0, std::time(nullptr) - file.modified));
}

void AddLocks(MetricsText* text) {
  const std::vector<LockState> locks = HostPlatform::GetLockStates();
  text->Begin("quor_lock_held", "", "1 while a writer holds the lock, which its label names.");
  for (const LockState& lock : locks) {
    Labels labels = {{"lock", LastPart(lock.path)}};
    if (lock.held) labels.emplace_back("holder", lock.holder);
    text->Add(labels, lock.held ? 1 : 0);
  }
  text->Begin("quor_lock_holder_timestamp_seconds", "seconds",
              "When the holder wrote its name into the lock file, once for all its commits.");
  for (const LockState& lock : locks) {
    if (lock.held) text->Add({{"lock", LastPart(lock.path)}}, lock.modified);
  }
}

void AddFindings(const Findings& findings, MetricsText* text) {
  std::map<Severity, std::int64_t> counts = {{Severity::kError, 0}, {Severity::kWarning, 0}};
  for (const Finding& finding : findings) {
    if (finding.severity != Severity::kInfo) ++counts[finding.severity];
  }
  text->Begin("quor_findings", "", "What quorctl check finds, by severity.");
  for (const auto& [severity, count] : counts) {
    text->Add({{"severity", severity == Severity::kError ? "error" : "warning"}}, count);
  }
}

class MetricsCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "metrics",
        {""},
        "print the state of the catalogue for a monitoring system",
        "Prints in OpenMetrics text: how many policies and datastores there are, their\n"
        "digests, when the store was last replaced, what \"quorctl check\" finds by severity,\n"
        "who holds a writers' lock and since when, and whether the catalogue can be read.\n"
        "One that cannot be is told by quor_up 0, and by status 0: a monitoring system is to\n"
        "hear of it. Writes nothing.\n",
    };
    return info;
  }

  void Declare(CLI::App& /*verb*/) override {}

  ExitStatus Run(CommandOutput* output) override {
    WaitBriefly();
    const bool configStore = BackendSwitch().on;
    UseBackend(configStore);
    MetricsText text;
    Findings findings;
    CheckFiles(&findings);
    const bool readable = AddCatalogue(configStore, &text, &findings);
    text.Begin("quor_up", "", "1 when the catalogue can be read.");
    text.Add({}, readable ? 1 : 0);
    AddLastCommit(SelectedFile(configStore), &text);
    AddFindings(findings, &text);
    AddLocks(&text);
    output->text += text.Text();
    return ExitStatus::kDone;
  }
};

}  // namespace

std::unique_ptr<Command> MakeMetricsCommand() {
  return std::make_unique<MetricsCommand>();
}

}  // namespace Quorctl
