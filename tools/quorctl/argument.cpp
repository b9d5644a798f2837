// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "argument.h"

#include <CLI/CLI.hpp>

#include "catalogue/text/terminal_text.h"
#include "exit_status.h"

namespace Quorctl {

void Argument::Declare(CLI::App& app, const std::string& name, const std::string& valueName,
                       const std::string& description) {
  const auto takeOne = [name](const CLI::results_t& values) {
    if (values.size() > 1) throw UsageError(name + " is given more than once");
    return true;
  };
  option_ = app.add_option(name, CLI::callback_t(takeOne), description);
  option_->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  option_->type_name(valueName);
}

// Kept where the parser's own help would look for a text; quorctl's is another one.
void Argument::OfferChoices(const std::string& choices) {
  option_->option_text(choices);
}

bool Argument::Given() const {
  return option_ != nullptr && option_->count() > 0;
}

const std::string& Argument::Value() const {
  return option_->results().front();
}

void Arguments::Declare(CLI::App& app, const std::string& name, const std::string& valueName,
                        const std::string& description) {
  const auto takeAll = [](const CLI::results_t&) { return true; };
  option_ = app.add_option(name, CLI::callback_t(takeAll), description);
  option_->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  option_->type_name(valueName);
  if (name.front() != '-') option_->expected(-1);
}

std::vector<std::string> Arguments::Values() const {
  return option_->count() > 0 ? option_->results() : std::vector<std::string>();
}

std::pair<std::string, std::string> SplitWord(const std::string& word, const std::string& form) {
  const std::size_t equals = word.find('=');
  if (equals == word.npos) throw UsageError(Quoted(word) + ": give " + form);
  return {word.substr(0, equals), word.substr(equals + 1)};
}

void DeclareFlag(CLI::App& app, const std::string& name, bool* flag,
                 const std::string& description) {
  app.add_flag(name, *flag, description);
}

}  // namespace Quorctl
