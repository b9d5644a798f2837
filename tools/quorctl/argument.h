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

  // Of a value that can only be one of a few: these words, with blanks between them.
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

// The two sides of "KEY=VALUE". Raises UsageError, which tells the form.
std::pair<std::string, std::string> SplitWord(const std::string& word, const std::string& form);

// An option without a value, which sets `flag`.
void DeclareFlag(CLI::App& app, const std::string& name, bool* flag,
                 const std::string& description);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_ARGUMENT_H_
