// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The options and words of a command. The parser's own header takes seconds to compile: this one
// and command.h do without it.
#ifndef TOOLS_QUORCTL_ARGUMENT_H_
#define TOOLS_QUORCTL_ARGUMENT_H_

#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace Quorctl {

// Hands out the bytes as they were given: the parser's own conversion to a string would take an
// empty value for a missing one and "{}" for a list.
class Argument {
 public:
  // `name` as "--root" or "-o,--output" for an option, as "FILE" for a word that follows the verb.
  void Declare(CLI::App& app, const std::string& name, const std::string& valueName,
               const std::string& description);

  // For a value with a few possible words: these words, separated by blanks.
  void OfferChoices(const std::string& choices);

  bool Given() const;

  // The value; REQUIRES: Given().
  const std::string& Value() const;

 private:
  CLI::Option* option_ = nullptr;
};

// Likewise, for any number of them.
class Arguments {
 public:
  void Declare(CLI::App& app, const std::string& name, const std::string& valueName,
               const std::string& description);

  std::vector<std::string> Values() const;

 private:
  CLI::Option* option_ = nullptr;
};

// Splits "KEY=VALUE". Raises UsageError, whose message gives the form.
std::pair<std::string, std::string> SplitWord(const std::string& word, const std::string& form);

// An option without a value, which sets `flag`.
void DeclareFlag(CLI::App& app, const std::string& name, bool* flag,
                 const std::string& description);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_ARGUMENT_H_
