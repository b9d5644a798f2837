// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "help.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "catalogue/text/terminal_text.h"
#include "command_table.h"
#include "global_options.h"
#include "text/table.h"

namespace Quorctl {
namespace {

constexpr char kIndent[] = "  ";

// "-o, --output FORMAT"; of a word that follows the verb its name.
std::string SpellingsOf(const CLI::Option& option) {
  if (option.get_positional()) return option.get_name(/*positional=*/true);
  std::string names = option.get_name(/*positional=*/false, /*all_options=*/true);
  const std::size_t comma = names.find(',');
  if (comma != names.npos) names.insert(comma + 1, " ");
  return option.get_type_name().empty() ? names : names + ' ' + option.get_type_name();
}

// Adds a description of one or more lines.
void AddLines(std::string label, const std::string& description, LabelledLines* lines) {
  std::istringstream stream(description);
  for (std::string line; std::getline(stream, line); label.clear())
    lines->Add(label, line);
}

std::string DeclaredOptions(const CLI::App& parser) {
  LabelledLines lines;
  for (const CLI::Option* option : parser.get_options()) {
    AddLines(SpellingsOf(*option), option->get_description(), &lines);
  }
  return lines.Text(kIndent);
}

std::string GlobalOptionsHelp() {
  CLI::App parser;
  GlobalOptions options;
  options.Declare(parser);
  return "Options of every command:\n" + DeclaredOptions(parser);
}

std::string ExitStatusHelp() {
  LabelledLines lines;
  for (const auto& [status, meaning] : kExitStatusMeanings) {
    AddLines(std::to_string(static_cast<int>(status)), meaning, &lines);
  }
  return "Exit statuses:\n" + lines.Text(kIndent);
}

}  // namespace

std::string GeneralHelp() {
  LabelledLines commands;
  for (const auto& command : MakeCommandTable()) {
    commands.Add(command->Info().name, command->Info().summary);
  }
  return "Looks at and changes this host's catalogue of storage policies and datastores.\n\n"
         "Usage: quorctl [OPTION]... COMMAND [ARGUMENT]...\n\n"
         "Commands (\"quorctl help COMMAND\" tells more):\n" +
         commands.Text(kIndent) + '\n' + GlobalOptionsHelp() + '\n' + ExitStatusHelp();
}

std::string CommandHelp(const std::string& verb) {
  const CommandTable table = MakeCommandTable();
  const auto found = std::find_if(table.begin(), table.end(), [&verb](const auto& command) {
    return command->Info().name == verb;
  });
  if (found == table.end()) RaiseUnknownCommand(verb);

  const CommandInfo& info = (*found)->Info();
  CLI::App parser;
  parser.set_help_flag();
  (*found)->Declare(parser);
  const std::string options = DeclaredOptions(parser);
  std::string usage;
  for (const std::string& synopsis : info.synopses) {
    usage += (usage.empty() ? "Usage: " : "       ") + ("quorctl " + info.name) +
             (synopsis.empty() ? "" : " " + synopsis) + '\n';
  }
  return usage + '\n' + info.description + '\n' +
         (options.empty() ? "" : "Arguments and options:\n" + options + '\n') +
         "\"quorctl help\" lists the options of every command and the exit statuses.\n";
}

}  // namespace Quorctl
