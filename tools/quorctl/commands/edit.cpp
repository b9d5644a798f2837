// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <unistd.h>

#include <cstdlib>
#include <map>
#include <sstream>
#include <system_error>

#include "applied_document.h"
#include "backend_choice.h"
#include "catalogue/document_error.h"
#include "catalogue/document_writer.h"
#include "catalogue_change.h"
#include "command_table.h"
#include "document_form.h"
#include "host_backend.h"
#include "input_file.h"
#include "live_catalogue.h"
#include "output_file.h"
#include "yaml_document.h"

namespace Quorctl {
namespace {

constexpr char kMark[] = "# ";  // no line of a document begins so
constexpr char kSource[] = "the document";

std::string MakeTemporaryFile(const std::string& ending) {
  const char* const directory = std::getenv("TMPDIR");
  std::string path = std::string(directory != nullptr && *directory != '\0' ? directory : "/tmp") +
                     "/quorctl-edit-XXXXXX" + ending;
  const int file = mkstemps(path.data(), static_cast<int>(ending.size()));
  if (file == -1) throw std::system_error(errno, std::generic_category(), "cannot make " + path);
  close(file);
  return path;
}

// Raises CommandError when the editor says that it failed.
void Edit(const std::string& path) {
  setenv("QUORCTL_DOCUMENT", path.c_str(), /*replace=*/1);
  const int status = std::system("${VISUAL:-${EDITOR:-vi}} \"$QUORCTL_DOCUMENT\"");
  if (status == 0) return;
  throw CommandError(ExitStatus::kNotConfirmed,
                     "the editor failed; nothing was changed, what was typed is in " + path);
}

std::string WithoutMarks(const std::string& text) {
  std::istringstream lines(text);
  std::string rest;
  for (std::string line; std::getline(lines, line);) {
    if (line.compare(0, sizeof kMark - 1, kMark) != 0) rest += line + '\n';
  }
  return rest;
}

// The errors, each below the line that it names; those that name none come first.
std::string WithMarks(const std::string& text, const DocumentError& error) {
  std::multimap<std::size_t, std::string> marks;
  std::vector<std::string> messages = error.others;
  messages.insert(messages.begin(), error.what());
  for (const std::string& message : messages) {
    const std::string told = message.substr(message.find(": ") + 2);
    const bool hasLine = told.compare(0, 5, "line ") == 0;
    marks.emplace(hasLine ? std::strtoul(told.c_str() + 5, nullptr, 10) : 0, told);
  }
  std::istringstream lines(text);
  std::string marked;
  std::string line;
  for (std::size_t number = 0; number == 0 || std::getline(lines, line); ++number) {
    if (number > 0) marked += line + '\n';
    const auto [begin, end] = marks.equal_range(number);
    for (auto mark = begin; mark != end; ++mark)
      marked += kMark + mark->second + '\n';
  }
  return marked;
}

class EditCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "edit",
        {std::string("[--yaml] ") + ChangeOptions::kSynopsis},
        "change the catalogue in an editor",
        "Writes the document of \"quorctl export\" to a file, starts VISUAL, else EDITOR, else\n"
        "vi on it, and applies what it holds then as \"quorctl apply\" does. Where the document\n"
        "has errors the editor is started again, with a line that begins with # below each of\n"
        "them, until it has none or was left as it was. When the document is not applied the\n"
        "file stays, and its name is told.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    options_.Declare(verb);
    DeclareFlag(verb, "--yaml", &yaml_, "write the document as YAML");
  }

  ExitStatus Run(CommandOutput* output) override {
    StayWithTheBackend();
    ExpectReadable(BackendSwitch());
    const std::string before =
        yaml_ ? AsYamlDocument(LiveDocument()) : CatalogueAsDocument(LiveDocument());
    const std::string path = MakeTemporaryFile(yaml_ ? ".yaml" : ".json");
    ReplaceFile(path, before);
    Edit(path);
    if (WithoutMarks(ReadInput(path)) == before) {
      unlink(path.c_str());
      output->text += "nothing was changed\n";
      return ExitStatus::kDone;
    }
    const ExitStatus status = Apply(path, output);
    if (options_.dryRun()) {
      output->text += "what was edited is in " + path + '\n';
    } else {
      unlink(path.c_str());
    }
    return status;
  }

 private:
  ExitStatus Apply(const std::string& path, CommandOutput* output) {
    ChangeRequest request{"edit", "apply what was edited to", "applied what was edited to"};
    request.obeysBasis = true;
    ProgressLine progress;
    try {
      return ChangeCatalogue(request, options_, ReadUntilRight(path), &progress, output);
    } catch (const CommandError& failure) {
      throw CommandError(failure.status(),
                         std::string(failure.what()) + "; what was edited is in " + path);
    }
  }

  // Raises CommandError when the editor left an error as it was.
  Catalogue ReadUntilRight(const std::string& path) const {
    for (;;) {
      const std::string text = WithoutMarks(ReadInput(path));
      try {
        return ReadAppliedDocument(yaml_ ? YamlAsJson(text, kSource) : text, kSource);
      } catch (const DocumentError& error) {
        ReplaceFile(path, WithMarks(text, error));
        Edit(path);
        if (WithoutMarks(ReadInput(path)) != text) continue;
        throw CommandError(ExitStatus::kBadInput,
                           std::string(error.what()) + "; nothing was changed");
      }
    }
  }

  ChangeOptions options_;
  bool yaml_ = false;
};

}  // namespace

std::unique_ptr<Command> MakeEditCommand() {
  return std::make_unique<EditCommand>();
}

}  // namespace Quorctl
