// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "completion.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <map>
#include <sstream>

#include "catalogue/text/terminal_text.h"
#include "command_table.h"
#include "global_options.h"
#include "history.h"
#include "host_backend.h"
#include "platform/admin.h"
#include "quor/quor_lib.h"
#include "text/record_writer.h"

namespace Quorctl {

using TavQuor::QuorLib;

namespace {

constexpr char kRoot[] = "--root";

bool BeginsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

std::string FirstLine(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

bool TakesValue(const CLI::Option* option) {
  return option != nullptr && option->get_items_expected_max() > 0;
}

class Completion {
 public:
  explicit Completion(const std::vector<std::string>& words);

  std::string Text() const {
    return directive_ + '\n' + typed_.substr(0, prefixLength_) + '\n' + values_;
  }

 private:
  // The words before the one that is typed.
  void Read(const std::vector<std::string>& words);
  void UseRoot(std::string directory) const;

  const CLI::Option* FindOption(const std::string& name) const;
  const CLI::Option* NextArgument() const;

  void OfferCommands();
  void OfferOptions();
  void OfferValuesOf(const CLI::Option& option);
  void OfferFields();
  void OfferPolicies(bool byName);
  void OfferDatastores();
  void OfferNumbers();

  // Candidates that begin with the typed text, without those that a shell would have to escape.
  void Offer(const std::string& value, const std::string& description = "");
  // A candidate with a leading dash would be read as an option, unless "--" was typed before.
  void OfferRecord(const std::string& value, const std::string& description);

  CommandTable commands_ = MakeCommandTable();
  std::map<std::string, CLI::App> parsers_;
  CLI::App global_;
  GlobalOptions globalOptions_;

  const Command* command_ = nullptr;
  bool unknownCommand_ = false;
  std::vector<std::string> arguments_;
  const CLI::Option* pending_ = nullptr;  // waits for the value that is typed
  bool optionsEnded_ = false;
  std::string typed_;
  bool isArgument_ = false;

  std::size_t prefixLength_ = 0;
  std::string directive_;
  std::string values_;
};

Completion::Completion(const std::vector<std::string>& words) {
  globalOptions_.Declare(global_);
  for (const auto& command : commands_) {
    CLI::App& parser = parsers_[command->Info().name];
    parser.set_help_flag();
    command->Declare(parser);
  }
  if (!words.empty()) typed_ = words.back();
  Read(words);
  if (unknownCommand_) return;

  const std::size_t equals = typed_.find('=');
  if (pending_ == nullptr && !optionsEnded_ && BeginsWith(typed_, "--") && equals != typed_.npos &&
      TakesValue(FindOption(typed_.substr(0, equals)))) {
    pending_ = FindOption(typed_.substr(0, equals));
    prefixLength_ = equals + 1;
  }
  if (pending_ != nullptr) {
    OfferValuesOf(*pending_);
  } else if (!optionsEnded_ && BeginsWith(typed_, "-")) {
    OfferOptions();
  } else if (command_ == nullptr) {
    OfferCommands();
  } else if (const CLI::Option* const argument = NextArgument()) {
    isArgument_ = true;
    OfferValuesOf(*argument);
  }
}

void Completion::Read(const std::vector<std::string>& words) {
  for (std::size_t i = 0; i + 1 < words.size(); ++i) {
    const std::string& word = words[i];
    if (pending_ != nullptr) {
      if (pending_->check_lname(kRoot + 2)) UseRoot(word);
      pending_ = nullptr;
    } else if (optionsEnded_ || word.size() < 2 || word.front() != '-') {
      if (command_ != nullptr) {
        arguments_.push_back(word);
        continue;
      }
      const auto found = std::find_if(commands_.begin(), commands_.end(), [&](const auto& command) {
        return command->Info().name == word;
      });
      unknownCommand_ = found == commands_.end();
      if (unknownCommand_) return;
      command_ = found->get();
    } else if (word == "--") {
      optionsEnded_ = true;
    } else if (BeginsWith(word, std::string(kRoot) + '=')) {
      UseRoot(word.substr(sizeof kRoot));
    } else if (TakesValue(FindOption(word))) {
      pending_ = FindOption(word);
    }
  }
}

void Completion::UseRoot(std::string directory) const {
  const char* const home = std::getenv("HOME");
  if (BeginsWith(directory, "~/") && home != nullptr) directory.replace(0, 1, home);
  HostPlatform::UseHostDirectory(directory);
}

// Looks among the options of the typed command, or of all commands if none is typed yet.
const CLI::Option* Completion::FindOption(const std::string& name) const {
  if (const CLI::Option* const option = global_.get_option_no_throw(name)) return option;
  for (const auto& [command, parser] : parsers_) {
    if (command_ != nullptr && command != command_->Info().name) continue;
    if (const CLI::Option* const option = parser.get_option_no_throw(name)) return option;
  }
  return nullptr;
}

// The argument that the typed word belongs to. The last argument may repeat.
const CLI::Option* Completion::NextArgument() const {
  std::size_t left = arguments_.size();
  for (const CLI::Option* const option : parsers_.at(command_->Info().name).get_options()) {
    if (!option->get_positional()) continue;
    if (left == 0 || option->get_allow_extra_args()) return option;
    --left;
  }
  return nullptr;
}

void Completion::OfferCommands() {
  for (const auto& command : commands_)
    Offer(command->Info().name, command->Info().summary);
}

void Completion::OfferOptions() {
  std::vector<const CLI::App*> parsers = {&global_};
  if (command_ != nullptr) parsers.push_back(&parsers_.at(command_->Info().name));
  for (const CLI::App* const parser : parsers) {
    for (const CLI::Option* const option : parser->get_options()) {
      for (const std::string& name : option->get_snames())
        Offer('-' + name, FirstLine(option->get_description()));
      for (const std::string& name : option->get_lnames())
        Offer("--" + name, FirstLine(option->get_description()));
    }
  }
}

// The name of a value says what it is.
void Completion::OfferValuesOf(const CLI::Option& option) {
  const std::string name =
      option.get_positional() ? option.get_name(/*positional=*/true) : option.get_type_name();
  const std::string kind = arguments_.empty() ? "" : arguments_.front();
  if (!option.get_option_text().empty()) {
    std::istringstream choices(option.get_option_text());
    for (std::string choice; choices >> choice;)
      Offer(choice);
  } else if (name == "DIR") {
    directive_ = "directories";
  } else if (name == "FILE" || name == "OLD" || name == "NEW") {
    directive_ = "files";
  } else if (name == "NAMES" || name == "FIELD=PATTERN") {
    OfferFields();
  } else if (name == "COMMAND") {
    OfferCommands();
  } else if (name == "NUMBER") {
    OfferNumbers();
  } else if (name == "NAME" || name == "ID") {
    OfferPolicies(name == "NAME");
  } else if (name == "URL" || (name == "KEY" && BeginsWith(kind, "datastore"))) {
    OfferDatastores();
  } else if (name == "KEY" && BeginsWith(kind, "polic")) {
    OfferPolicies(/*byName=*/false);
  }
}

// Behind the last comma; --sort takes dashes too.
void Completion::OfferFields() {
  const std::size_t comma = typed_.rfind(',');
  if (comma != typed_.npos && comma >= prefixLength_) prefixLength_ = comma + 1;
  if (pending_->check_lname("sort") && typed_.compare(prefixLength_, 1, "-") == 0) ++prefixLength_;
  directive_ = "no-space";
  if (command_ == nullptr) return;
  const RecordLayout* const layout = command_->Lists(arguments_.empty() ? "" : arguments_.front());
  if (layout == nullptr) return;
  for (const RecordField& field : layout->fields)
    Offer(field.name);
}

void Completion::OfferPolicies(bool byName) {
  for (const auto& policy : QuorLib::ListPolicyInfo()) {
    byName ? OfferRecord(policy.name, policy.policyId) : OfferRecord(policy.policyId, policy.name);
  }
}

void Completion::OfferDatastores() {
  for (const auto& datastore : QuorLib::ListDatastoreInfo())
    OfferRecord(datastore.url, datastore.defaultPolicyId);
}

void Completion::OfferNumbers() {
  for (const HistoryEntry& entry : ListHistory())
    Offer(std::to_string(entry.number), entry.reason + ", " + entry.time);
}

void Completion::Offer(const std::string& value, const std::string& description) {
  if (value.compare(0, typed_.size() - prefixLength_, typed_, prefixLength_, typed_.npos) != 0) {
    return;
  }
  if (value.empty() || EscapeForTerminal(value) != value) return;
  values_ += value + '\t' + EscapeForTerminal(description) + '\n';
}

void Completion::OfferRecord(const std::string& value, const std::string& description) {
  const bool isOption = isArgument_ && !optionsEnded_ && BeginsWith(value, "-");
  if (!isOption) Offer(value, description);
}

}  // namespace

std::string CompletionOf(const std::vector<std::string>& words) {
  try {
    WaitBriefly();
    return Completion(words).Text();
  } catch (const std::exception&) {
    return "";  // the command that is completed will tell
  }
}

}  // namespace Quorctl
