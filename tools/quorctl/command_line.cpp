// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "command_line.h"

#include <algorithm>
#include <utility>

#include "catalogue/text/suggestion.h"
#include "catalogue/text/terminal_text.h"
#include "completion.h"
#include "help.h"

namespace Quorctl {

CommandLine::CommandLine(CommandTable commands) : commands_(std::move(commands)) {
  globalOptions_.Declare(parser_);
  parser_.require_subcommand(0, 1);
  parser_.fallthrough();  // options of every command may follow the verb
  for (const auto& command : commands_) {
    command->Declare(*parser_.add_subcommand(command->Info().name));
  }
}

ExitStatus CommandLine::Run(const std::vector<std::string>& words, CommandOutput* output) {
  if (!words.empty() && words.front() == kCompletionWord) {
    output->text += CompletionOf({words.begin() + 1, words.end()});
    return ExitStatus::kDone;
  }
  try {
    return RunParsed(words, output);
  } catch (const UsageError& failure) {
    const Command* const command = Chosen();
    throw CommandError(ExitStatus::kUsage, std::string(failure.what()) + " (see: quorctl help" +
                                               (command ? ' ' + command->Info().name : "") + ")");
  }
}

ExitStatus CommandLine::RunParsed(const std::vector<std::string>& words, CommandOutput* output) {
  const Request request = Parse(words);
  Command* const command = Chosen();
  if (request == Request::kHelp) {
    output->text += command ? CommandHelp(command->Info().name) : GeneralHelp();
    return ExitStatus::kDone;
  }
  if (request == Request::kVersion) {
    output->text += parser_.version() + '\n';
    return ExitStatus::kDone;
  }
  if (!command) throw UsageError("no command is given");
  globalOptions_.Apply(command->MakesHost());
  return command->Run(output);
}

CommandLine::Request CommandLine::Parse(const std::vector<std::string>& words) {
  std::vector<std::string> reversed = Prepared(words);
  std::reverse(reversed.begin(), reversed.end());  // as the parser takes them
  try {
    parser_.parse(std::move(reversed));
  } catch (const CLI::CallForHelp&) {
    return Request::kHelp;
  } catch (const CLI::CallForVersion&) {
    return Request::kVersion;
  } catch (const CLI::ExtrasError&) {
    RaiseUnexpectedWord();
  } catch (const CLI::ParseError& failure) {
    throw UsageError(failure.what());
  }
  return Request::kCommand;
}

// Corrects cases that the parser reads differently from what the operator means: "--option=" gives
// an empty value, where the parser would take the next word; a flag takes no value; and "++" has no
// meaning. Words after "--" are left unchanged.
std::vector<std::string> CommandLine::Prepared(const std::vector<std::string>& words) const {
  std::vector<std::string> prepared;
  bool isValue = false;  // of the option before
  bool optionsEnded = false;
  for (const std::string& word : words) {
    if (isValue || optionsEnded) {
      prepared.push_back(word);
      isValue = false;
      continue;
    }
    if (word == "++") throw UsageError("unexpected argument " + Quoted(word));
    optionsEnded = word == "--";
    const std::string name = word.substr(0, word.find('='));
    const bool hasValue = name.size() < word.size();
    const CLI::Option* const option = FindOption(name);
    const bool takesValue = option && option->get_items_expected_max() > 0;
    if (option && !takesValue && hasValue) throw UsageError(name + " takes no value");
    if (takesValue && name.size() + 1 == word.size()) {
      prepared.push_back(name);
      prepared.emplace_back();
    } else {
      prepared.push_back(word);
      isValue = takesValue && !hasValue;
    }
  }
  if (isValue) throw UsageError(words.back() + " needs a value");
  return prepared;
}

const CLI::Option* CommandLine::FindOption(const std::string& name) const {
  if (name.empty() || name.front() != '-') return nullptr;
  std::vector<const CLI::App*> parsers =
      parser_.get_subcommands([](const CLI::App*) { return true; });
  parsers.push_back(&parser_);
  for (const CLI::App* const parser : parsers) {
    if (const CLI::Option* const option = parser->get_option_no_throw(name)) return option;
  }
  return nullptr;
}

// Those that may stand here.
std::vector<std::string> CommandLine::KnownOptions() const {
  std::vector<std::string> names;
  std::vector<const CLI::App*> parsers = {&parser_};
  if (const Command* const command = Chosen()) {
    parsers.push_back(parser_.get_subcommand(command->Info().name));
  }
  for (const CLI::App* const parser : parsers) {
    for (const CLI::Option* const option : parser->get_options()) {
      for (const std::string& name : option->get_lnames())
        names.push_back("--" + name);
    }
  }
  return names;
}

Command* CommandLine::Chosen() const {
  for (const auto& command : commands_) {
    if (parser_.got_subcommand(command->Info().name)) return command.get();
  }
  return nullptr;
}

void CommandLine::RaiseUnexpectedWord() const {
  std::vector<std::string> words = parser_.remaining(/*recurse=*/true);
  // The mark that ends the options is among them, though it is expected.
  const auto mark = std::find(words.begin(), words.end(), "--");
  if (mark != words.end()) words.erase(mark);
  const std::string word = words.empty() ? "--" : words.front();
  if (word.size() > 1 && word.front() == '-') {
    const std::string name = word.substr(0, word.find('='));
    throw UsageError("unknown option " + Quoted(word) + DidYouMean(name, KnownOptions()));
  }
  if (!Chosen()) RaiseUnknownCommand(word);
  throw UsageError("unexpected argument " + Quoted(word));
}

}  // namespace Quorctl
