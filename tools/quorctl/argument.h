// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// One option value or word of the command line.
#ifndef TOOLS_QUORCTL_ARGUMENT_H_
#define TOOLS_QUORCTL_ARGUMENT_H_

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "exit_status.h"

namespace Quorctl {

// Hands out the bytes as they were given: the parser's own conversion to a string would take an
// empty value for a missing one and "{}" for a list.
class Argument {
 public:
  // `name` as "--root" or "-o,--output" for an option, as "FILE" for a word that follows the verb.
  void Declare(CLI::App& app, const std::string& name, const std::string& valueName,
               const std::string& description) {
    const auto takeOne = [name](const CLI::results_t& values) {
      if (values.size() > 1) throw UsageError(name + " is given more than once");
      return true;
    };
    option_ = app.add_option(name, CLI::callback_t(takeOne), description);
    option_->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    option_->type_name(valueName);
  }

  bool Given() const { return option_ && option_->count() > 0; }

  // The value; REQUIRES: Given().
  const std::string& Value() const { return option_->results().front(); }

 private:
  CLI::Option* option_ = nullptr;
};

// Likewise, for any number of them.
class Arguments {
 public:
  void Declare(CLI::App& app, const std::string& name, const std::string& valueName,
               const std::string& description) {
    const auto takeAll = [](const CLI::results_t&) { return true; };
    option_ = app.add_option(name, CLI::callback_t(takeAll), description);
    option_->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    option_->type_name(valueName);
    if (name.front() != '-') option_->expected(-1);
  }

  std::vector<std::string> Values() const {
    return option_->count() > 0 ? option_->results() : std::vector<std::string>();
  }

 private:
  CLI::Option* option_ = nullptr;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_ARGUMENT_H_
