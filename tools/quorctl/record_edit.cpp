// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "record_edit.h"

#include <algorithm>
#include <charconv>
#include <type_traits>

#include "backend_choice.h"
#include "host_backend.h"
#include "input_file.h"
#include "record_names.h"
#include "store_limits.h"

namespace Quorctl {

using TavQuor::QuorPolicyInfo;

namespace {

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

}  // namespace

void RecordWords::Declare(CLI::App& verb) {
  kind_.Declare(verb, "KIND", "", "policy or datastore");
  kind_.OfferChoices("policy datastore");
  key_.Declare(verb, "KEY", "", "the policy's identifier or name, the datastore's URL");
}

bool RecordWords::IsPolicy(const std::string& verb) const {
  if (!kind_.Given() || !key_.Given()) {
    throw UsageError(verb + " what? policy KEY or datastore URL");
  }
  return IsPolicyKind(kind_.Value());
}

std::string RecordWords::InWords() const {
  return (IsPolicyKind(kind_.Value()) ? "policy " : "datastore ") + Quoted(Key());
}

void FieldWords::Declare(CLI::App& verb) {
  words_.Declare(verb, "FIELD=VALUE", "", "what to set");
  blobWords_.Declare(verb, "--blob", "NAMESPACE=@FILE",
                     "the policy's blob for the namespace: the bytes of the\n"
                     "file, or the text that stands here without the @");
}

void FieldWords::Read(bool isPolicy) {
  assignments_ = words_.Values();
  for (const std::string& word : blobWords_.Values()) {
    if (!isPolicy) throw UsageError("only policies have blobs");
    auto [blobNamespace, content] = SplitWord(word, "NAMESPACE=@FILE or NAMESPACE=TEXT");
    if (blobNamespace.empty()) throw UsageError("--blob " + Quoted(word) + " names no namespace");
    useInput_ = useInput_ || content == "@-";
    if (!content.empty() && content.front() == '@') content = ReadInput(content.substr(1));
    blobs_.emplace_back(std::move(content), std::move(blobNamespace));
  }
}

std::string FieldWords::TakeName() {
  std::string name = assignments_.empty() ? "" : assignments_.front();
  const auto begins = [&name](const Field<QuorPolicyInfo>& field) {
    return name.rfind(std::string(field.key) + '=', 0) == 0;
  };
  const auto& fields = kFields<QuorPolicyInfo>;
  if (name.empty() || std::any_of(fields.begin(), fields.end(), begins)) {
    throw UsageError("a policy needs an identifier and a name: policy ID NAME");
  }
  assignments_.erase(assignments_.begin());
  return name;
}

template <typename Record>
void FieldWords::SetOn(Record* record) const {
  for (const std::string& assignment : assignments_)
    SetField(assignment, record);
  if constexpr (std::is_same_v<Record, QuorPolicyInfo>) {
    for (const auto& [blob, blobNamespace] : blobs_) {
      if (std::string* const old = FindBlob(*record, blobNamespace)) {
        *old = blob;
      } else {
        record->blobs.emplace_back(blob, blobNamespace);
      }
    }
  }
}

template <typename Record>
void SetField(const std::string& assignment, Record* record) {
  const auto [name, text] = SplitWord(assignment, "FIELD=VALUE");
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

// Lookups find the first of several, and the configuration store keeps one of a name or URL.
template <typename Record>
void ExpectStorable(const std::vector<Record>& records, std::size_t index, const Record& before) {
  std::vector<std::string> problems;
  const auto names = NamesOf(records[index]);
  for (std::size_t name = 0; name < names.size(); ++name) {
    if (*names[name] == *NamesOf(before)[name]) continue;
    const auto others = std::count_if(records.begin(), records.end(), [&](const Record& record) {
      return *NamesOf(record)[name] == *names[name];
    });
    if (others == 1) continue;
    problems.push_back("another record has the " + std::string(kFields<Record>[name].key) + ' ' +
                       Quoted(*names[name]) + " already");
  }
  if constexpr (std::is_same_v<Record, QuorPolicyInfo>) {
    const auto losses = LostIn(BackendSwitch().on, {{records[index]}, {}, ""});
    problems.insert(problems.end(), losses.begin(), losses.end());
  }
  if (problems.empty()) return;
  throw CommandError(ExitStatus::kBadInput, problems.front() + "; nothing was changed");
}

template void FieldWords::SetOn(QuorPolicyInfo*) const;
template void FieldWords::SetOn(TavQuor::QuorDatastoreInfo*) const;
template void SetField(const std::string&, QuorPolicyInfo*);
template void SetField(const std::string&, TavQuor::QuorDatastoreInfo*);
template void ExpectStorable(const std::vector<QuorPolicyInfo>&, std::size_t,
                             const QuorPolicyInfo&);
template void ExpectStorable(const std::vector<TavQuor::QuorDatastoreInfo>&, std::size_t,
                             const TavQuor::QuorDatastoreInfo&);

ExitStatus EditCatalogue(const ChangeRequest& request, const ChangeOptions& options,
                         const std::function<void(Catalogue* catalogue)>& edit,
                         CommandOutput* output) {
  if (options.replaceDamaged() && !request.wipes) {
    throw UsageError(
        "--replace-damaged goes with whole catalogues only: this record would be all "
        "that is left of a damaged one; see \"quorctl help restore\"");
  }
  ExpectReadable(BackendSwitch());
  StayWithTheBackend();
  ProgressLine progress;
  const auto make = [&edit](const Catalogue& present, Catalogue* next) {
    *next = present;
    edit(next);
  };
  return ChangeCatalogue(request, options, make, &progress, output);
}

}  // namespace Quorctl
