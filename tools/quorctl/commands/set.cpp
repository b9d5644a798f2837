// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <charconv>
#include <type_traits>

#include "argument.h"
#include "backend_choice.h"
#include "catalogue/duplicates.h"
#include "catalogue/record_fields.h"
#include "catalogue_change.h"
#include "command_table.h"
#include "host_backend.h"
#include "input_file.h"
#include "record_names.h"
#include "store_limits.h"

namespace Quorctl {

using TavQuor::QuorPolicyInfo;

namespace {

// The two sides of "KEY=VALUE".
std::pair<std::string, std::string> Split(const std::string& word, const std::string& form) {
  const std::size_t equals = word.find('=');
  if (equals == word.npos) throw UsageError(Quoted(word) + ": give " + form);
  return {word.substr(0, equals), word.substr(equals + 1)};
}

void SetValue(const std::string& /*field*/, const std::string& text, std::string* value) {
  *value = text;
}

// "+1" and "+-1" count from what there is.
void SetValue(const std::string& field, const std::string& text, std::int64_t* value) {
  const bool counts = !text.empty() && text.front() == '+';
  const char* const begin = text.data() + (counts ? 1 : 0);
  const char* const end = text.data() + text.size();
  std::int64_t number = 0;
  const auto [stop, error] = std::from_chars(begin, end, number);
  if (error != std::errc() || stop != end ||
      (counts && __builtin_add_overflow(*value, number, &number))) {
    throw UsageError(field + "=" + text + ": give an integer of 64 bits, or + and what to add");
  }
  *value = number;
}

void SetValue(const std::string& field, const std::string& /*text*/, Blobs* /*value*/) {
  throw UsageError(field + " are set one by one, by --blob NAMESPACE=@FILE");
}

template <typename Record>
void SetField(const std::string& assignment, Record* record) {
  const auto [name, text] = Split(assignment, "FIELD=VALUE");
  std::vector<std::string> known;
  for (const Field<Record>& field : kFields<Record>) {
    known.emplace_back(field.key);
    if (name != field.key) continue;
    const std::string& value = text;
    field.Visit([&](auto& member) { SetValue(field.key, value, &member); }, *record);
    return;
  }
  throw UsageError("unknown field " + Quoted(name) + DidYouMean(name, known));
}

class SetCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "set",
        {"policy KEY [FIELD=VALUE]... [BLOB OPTION]... [CHANGE OPTION]...",
         "datastore URL FIELD=VALUE... [CHANGE OPTION]..."},
        "change one policy or one datastore",
        "Changes fields of the policy with that identifier, else of that name, or of the\n"
        "datastore, under the terms of apply: shows what differs, asks or needs --yes where\n"
        "something is lost, and keeps both catalogues in the history. Fields have the names\n"
        "that \"quorctl get -o json\" shows. generation=+1 adds to the number. Where several\n"
        "policies have the name nothing is changed. A change by another process meanwhile is\n"
        "kept: only this record is set.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    kind_.Declare(verb, "KIND", "", "policy or datastore");
    key_.Declare(verb, "KEY", "", "the policy's identifier or name, the datastore's URL");
    assignments_.Declare(verb, "FIELD=VALUE", "", "what to set");
    blobs_.Declare(verb, "--blob", "NAMESPACE=@FILE",
                   "the policy's blob for the namespace: the bytes of the\n"
                   "file, or the text that stands here without the @");
    removed_.Declare(verb, "--no-blob", "NAMESPACE", "remove the policy's blob for the namespace");
    options_.Declare(verb);
  }

  ExitStatus Run(CommandOutput* output) override {
    if (!kind_.Given() || !key_.Given()) throw UsageError("set what? policy KEY or datastore URL");
    const bool isPolicy = IsPolicyKind(kind_.Value());
    if (!isPolicy && !(blobs_.Values().empty() && removed_.Values().empty())) {
      throw UsageError("only policies have blobs");
    }
    if (assignments_.Values().empty() && blobs_.Values().empty() && removed_.Values().empty()) {
      throw UsageError("nothing is to be set; give FIELD=VALUE");
    }
    ReadBlobs();
    ExpectReadable(BackendSwitch());
    StayWithTheBackend();
    ProgressLine progress;
    const auto make = [&](const Catalogue& present, Catalogue* next) {
      *next = present;
      isPolicy ? Edit(&next->policies) : Edit(&next->datastores);
      ExpectStorable(present, *next);
    };
    ChangeRequest request{"set"};
    request.mayAsk = !usesInput_;
    const ChangeResult result = ChangeCatalogue(request, options_, make, &progress, output);
    output->text += TextOf(result, isPolicy ? "policy " : "datastore ") + NoteOfAnotherBackend();
    return ExitStatus::kDone;
  }

 private:
  // Before the change, which may be tried several times.
  void ReadBlobs() {
    for (const std::string& word : blobs_.Values()) {
      auto [blobNamespace, content] = Split(word, "NAMESPACE=@FILE or NAMESPACE=TEXT");
      if (blobNamespace.empty()) throw UsageError("--blob " + Quoted(word) + " names no namespace");
      usesInput_ = usesInput_ || content == "@-";
      if (!content.empty() && content.front() == '@') content = ReadInput(content.substr(1));
      newBlobs_.emplace_back(std::move(content), std::move(blobNamespace));
    }
  }

  template <typename Record>
  void Edit(std::vector<Record>* records) const {
    constexpr bool kIsPolicy = std::is_same_v<Record, QuorPolicyInfo>;
    const std::string& key = key_.Value();
    const std::vector<std::size_t> found = FindNamed(*records, key);
    const bool isPattern = !found.empty() && [&] {
      const auto names = NamesOf((*records)[found.front()]);
      return std::find(names.begin(), names.end(), key) == names.end();
    }();
    if (found.empty() || isPattern) {
      throw CommandError(ExitStatus::kAbsent, NoSuchRecord(kIsPolicy, key));
    }
    if (found.size() > 1) {
      throw CommandError(ExitStatus::kUsage, std::to_string(found.size()) + " records are named " +
                                                 Quoted(key) + "; nothing was changed");
    }
    Record& record = (*records)[found.front()];
    for (const std::string& assignment : assignments_.Values())
      SetField(assignment, &record);
    if constexpr (kIsPolicy) EditBlobs(&record.blobs);
  }

  void EditBlobs(Blobs* blobs) const {
    const auto isFor = [](const std::string& wanted) {
      return [&wanted](const auto& entry) { return entry.second == wanted; };
    };
    for (const std::string& gone : removed_.Values()) {
      const auto kept = std::remove_if(blobs->begin(), blobs->end(), isFor(gone));
      if (kept == blobs->end()) {
        throw CommandError(ExitStatus::kAbsent, "there is no blob for " + Quoted(gone));
      }
      blobs->erase(kept, blobs->end());
    }
    for (const auto& entry : newBlobs_) {
      const auto old = std::find_if(blobs->begin(), blobs->end(), isFor(entry.second));
      if (old == blobs->end()) {
        blobs->push_back(entry);
      } else {
        old->first = entry.first;
      }
    }
  }

  // The configuration file may hold names and URLs twice, but then finds the first only.
  static void ExpectStorable(const Catalogue& present, const Catalogue& next) {
    const auto repeated = [](const Catalogue& catalogue) {
      const std::vector<Duplicate> keys = FindDuplicates(catalogue);
      return std::count_if(keys.begin(), keys.end(), [](const Duplicate& key) {
        return key.kind == KeyKind::kPolicyName || key.kind == KeyKind::kDatastoreUrl;
      });
    };
    std::vector<std::string> problems = LostIn(BackendSwitch().on, next);
    if (repeated(next) > repeated(present)) {
      problems.emplace_back("another record has that name or URL already");
    }
    if (problems.empty()) return;
    throw CommandError(ExitStatus::kBadInput, problems.front() + "; nothing was changed");
  }

  std::string TextOf(ChangeResult result, const std::string& kind) const {
    const std::string what = kind + Quoted(key_.Value()) + " in " + SelectedBackendPlace();
    if (result == ChangeResult::kNothingDiffers) {
      return what + " is so already; nothing was written\n";
    }
    const bool done = result == ChangeResult::kDone;
    return (done ? "set " : "would set ") + what + (done ? "\n" : "; nothing was written\n");
  }

  Argument kind_;
  Argument key_;
  Arguments assignments_;
  Arguments blobs_;
  Arguments removed_;
  Blobs newBlobs_;
  bool usesInput_ = false;
  ChangeOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeSetCommand() {
  return std::make_unique<SetCommand>();
}

}  // namespace Quorctl
