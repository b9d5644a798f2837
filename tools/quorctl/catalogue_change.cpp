// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue_change.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "backend_choice.h"
#include "catalogue/difference.h"
#include "catalogue/document_writer.h"
#include "catalogue/duplicates.h"
#include "catalogue/text/json_text.h"
#include "catalogue/text/terminal_text.h"
#include "change_record.h"
#include "change_turn.h"
#include "check/catalogue_content.h"
#include "check/stored_content.h"
#include "confirmation.h"
#include "damaged_store.h"
#include "difference_layout.h"
#include "history.h"
#include "host_backend.h"
#include "interrupt_notice.h"
#include "live_catalogue.h"
#include "lock_wait.h"
#include "managed_host.h"
#include "replacement.h"
#include "signal_block.h"
#include "standard_streams.h"
#include "text/terminal_size.h"

namespace Quorctl {

using TavQuor::QuorLib;

namespace {

// An attempt starts over if another process was faster; after a few, the processes are fighting
// each other.
constexpr int kAttempts = 10;

constexpr std::size_t kNamedChanges = 5;  // of those that somebody else made, and of new problems

// What the host has before the change.
struct Present {
  LiveCatalogue live;
  Digests digests;
  std::string damage;  // why the store's file is to be put aside; mostly empty

  std::size_t Lost() const { return live.lostPolicies + live.lostDatastores; }

  std::string LostInWords() const {
    if (!damage.empty()) return "the damaged file " + live.stamp.path();
    return Lost() == 0 ? "" : Counted(Lost(), "record", "records") + " that cannot be read";
  }

  // To be put behind what else there is.
  std::string AndLost() const {
    const std::string lost = LostInWords();
    return lost.empty() ? "" : " and " + lost;
  }
};

// The history takes complete catalogues only. With --no-history, records that cannot be read may be
// lost.
Present ReadPresent(bool replacesDamaged, bool noHistory) {
  Present present;
  try {
    present.live = ReadLiveCatalogue(!noHistory && !replacesDamaged);
    if (replacesDamaged && present.Lost() > 0) {
      present.damage = present.LostInWords();
      present.live.lostPolicies = present.live.lostDatastores = 0;  // with the file put aside
    }
  } catch (...) {
    if (replacesDamaged) present.damage = DamageOfTheStore();
    if (present.damage.empty()) throw;
    present.live.stamp = StoreStamp::Take();
  }
  present.digests = DigestsOf(present.live.catalogue);
  return present;
}

// Shows the output so far and asks. Raises CommandError if the answer is no.
void Confirm(const ChangeRequest& request, const std::string& loss, ProgressLine* progress,
             CommandOutput* output) {
  const std::string place = SelectedBackendPlace();
  if (!CanAsk(!request.mayAsk)) {
    throw CommandError(ExitStatus::kNotConfirmed, request.verb + " would delete " + loss +
                                                      " from " + place +
                                                      "; nothing was changed; confirm with --yes");
  }
  progress->Hide();
  AskOrRefuse("Delete " + loss + " from " + place + '?', &output->text, !request.mayAsk);
}

std::string NameOf(const Difference& difference) {
  const char* const done = difference.change == Change::kDeleted ? " deleted"
                           : difference.change == Change::kAdded ? " added"
                                                                 : " changed";
  return (difference.kind == RecordKind::kPolicy ? "policy " : "datastore ") +
         Quoted(difference.name) + done;
}

// Names the records that changed since the catalogue had the digests `basis`, if the history still
// has that catalogue; otherwise only the kinds.
std::string ChangedSince(const std::string& basis, const Present& present) {
  std::string changes;
  for (const HistoryEntry& entry : ListHistory()) {
    if (Joined(entry.digests) != basis) continue;
    const auto differences = CompareCatalogues(ReadHistoryEntry(entry), present.live.catalogue);
    for (std::size_t i = 0; i < std::min(differences.size(), kNamedChanges); ++i)
      changes += (i > 0 ? ", " : "") + NameOf(differences[i]);
    if (differences.size() > kNamedChanges) {
      changes += " and " + std::to_string(differences.size() - kNamedChanges) + " more";
    }
    if (!changes.empty()) return changes;
  }
  const bool policies = basis.substr(0, basis.find(':')) != present.digests.first;
  const bool datastores = basis.substr(basis.find(':') + 1) != present.digests.second;
  return policies && datastores ? "policies and datastores" : policies ? "policies" : "datastores";
}

void ExpectBasis(const std::string& basis, const Present& present, const std::string& advice) {
  if (basis.empty() || basis == Joined(present.digests)) return;
  throw CommandError(ExitStatus::kMoved,
                     "the catalogue is not the one that this change is based "
                     "on; changed since: " +
                         ChangedSince(basis, present) + "; nothing was changed; " + advice);
}

// What is to be done, and what it means.
class Plan {
 public:
  Plan(const ChangeRequest& request, const Present& present, Catalogue* next)
      : request_(request), present_(present), next_(*next) {
    const Catalogue& old = present.live.catalogue;
    if (!request.replacesPolicies) next_.policies = old.policies;
    if (!request.replacesDatastores) next_.datastores = old.datastores;
    differences_ = CompareCatalogues(old, next_);
    losses_ = FindLosses(old, next_, differences_);
    const bool all = IsWantedWhole();
    policies_ = request.replacesPolicies && (all || Differs(RecordKind::kPolicy));
    datastores_ = request.replacesDatastores && (all || Differs(RecordKind::kDatastore));
    const bool allMayBe = request.replacesPolicies && request.replacesDatastores;
    if (allMayBe && !(policies_ && datastores_) && !request.wipes) LookAtWhatIsStored();
  }

  bool IsNeeded() const { return policies_ || datastores_; }
  bool policies() const { return policies_; }
  bool datastores() const { return datastores_; }
  const Catalogue& next() const { return next_; }

  std::string Text() const {
    if (request_.wipes) {  // whatever it is
      const Catalogue& old = present_.live.catalogue;
      return CountedRecords(old.policies.size(), old.datastores.size()) + present_.AndLost() +
             " to delete\n";
    }
    return (differences_.empty() ? "" : Changes()) +
           (whyAnew_.empty() ? "" : "all records are to be written anew: " + whyAnew_ + '\n');
  }

  // The number of differences, and the digests that the catalogue will have.
  nlohmann::ordered_json AsJson() const {
    const auto counts = [this](RecordKind kind) {
      return nlohmann::ordered_json{{"deleted", CountOf(differences_, Change::kDeleted, kind)},
                                    {"added", CountOf(differences_, Change::kAdded, kind)},
                                    {"changed", CountOf(differences_, Change::kChanged, kind)}};
    };
    const Digests digests = DigestsOf(next_);
    return {{"policies", counts(RecordKind::kPolicy)},
            {"datastores", counts(RecordKind::kDatastore)},
            {"digests", {{"policies", digests.first}, {"datastores", digests.second}}}};
  }

  // The losses in words; empty if there are none.
  std::string Loss() const {
    if (request_.wipes) return "all policies and datastores" + present_.AndLost();
    return losses_.Any() ? losses_.InWords() + present_.AndLost() : present_.LostInWords();
  }

 private:
  std::string Changes() const {
    RecordChoices choices;
    choices.forTerminal = isatty(STDOUT_FILENO) == 1;
    choices.colour = StandardOutputTakesColour();
    RecordWriter writer(DifferenceLayout(), choices);
    const std::string problems = NewProblemsInWords();
    const std::size_t most = choices.forTerminal ? RowsOnTerminal(problems) : differences_.size();
    AddDifferences(differences_, most, &writer);
    std::string text = Counts(Change::kDeleted) + " to delete, " + Counts(Change::kAdded) +
                       " to add, " + Counts(Change::kChanged) + " to change\n" + writer.Text();
    if (most < differences_.size()) {
      text += "... and " + std::to_string(differences_.size() - most) +
              " more; add \"--dry-run | less\" to see them all\n";
    }
    return text + problems;
  }

  // The problems that "quorctl check" would find after the change and does not find now.
  std::string NewProblemsInWords() const {
    const Findings findings = NewProblems(present_.live.catalogue, next_);
    std::string text;
    for (std::size_t i = 0; i < std::min(findings.size(), kNamedChanges); ++i)
      text += "warning: " + findings[i].subject + ": " + findings[i].problem + '\n';
    if (findings.size() > kNamedChanges) {
      text += "warning: and " + std::to_string(findings.size() - kNamedChanges) +
              " more problems, which \"quorctl check\" will name\n";
    }
    return findings.empty() ? text : text + request_.advice;
  }

  // Leaves room for the counts, the headings, the lines that follow and the question.
  static std::size_t RowsOnTerminal(const std::string& following) {
    const auto rows = static_cast<std::ptrdiff_t>(SizeOfTerminal().rows);
    if (rows == 0) return SIZE_MAX;
    const auto lines = std::count(following.begin(), following.end(), '\n');
    return static_cast<std::size_t>(std::max<std::ptrdiff_t>(rows - 5 - lines, 3));
  }

  // Records that are all the same can be stored in a way that the library would not have.
  void LookAtWhatIsStored() {
    whyAnew_ = WhyToWriteAnew(BackendSwitch().on);
    if (!whyAnew_.empty()) policies_ = datastores_ = true;
  }

  bool Differs(RecordKind kind) const {
    return std::any_of(differences_.begin(), differences_.end(),
                       [kind](const Difference& difference) { return difference.kind == kind; });
  }

  // Also where no record differs: a replacement heals damage; and where keys repeat, lookups and
  // digests depend on the order of the records.
  bool IsWantedWhole() const {
    if (present_.Lost() > 0 || !present_.damage.empty()) return true;
    return differences_.empty() && !FindDuplicates(next_).empty() &&
           CatalogueAsDocument(next_) != CatalogueAsDocument(present_.live.catalogue);
  }

  std::string Counts(Change change) const {
    return CountedRecords(CountOf(differences_, change, RecordKind::kPolicy),
                          CountOf(differences_, change, RecordKind::kDatastore));
  }

  const ChangeRequest& request_;
  const Present& present_;
  Catalogue& next_;
  std::vector<Difference> differences_;
  Losses losses_;
  std::string whyAnew_;  // the problem that makes a replacement of all necessary; may be empty
  bool policies_ = false;
  bool datastores_ = false;
};

// Whether the catalogue is the one from before, after a change that failed.
bool IsAsBefore(const Present& present) noexcept {
  try {
    return present.live.stamp.IsCurrent() || QuorLib::GetDbHash() == present.digests;
  } catch (...) {
    return false;  // nobody knows
  }
}

void ReadBack(const Plan& plan) {
  const LiveCatalogue stored = ReadLiveCatalogue(/*complete=*/false);
  if (AreSameRecords(stored.catalogue, plan.next())) return;
  throw CommandError(ExitStatus::kStore,
                     "the change was made, but what is stored now is another catalogue: another "
                     "process has changed it since");
}

// False, with nothing done, when another process was faster.
bool CarryOut(const std::string& verb, const ChangeOptions& options, Present* whatIs,
              const Plan& plan, ProgressLine* progress, CommandOutput* output) {
  const Present& present = *whatIs;
  SignalBlock block;  // until policies and datastores are of one catalogue
  block.Keep(true);   // and what was done is told
  LockWait wait(progress);
  ChangeRecord record(verb, BackendSwitch().on, &wait);
  const bool kept = !options.noHistory();
  // What is damaged is put aside instead.
  if (kept && present.damage.empty()) record.KeepPresent(present.live.catalogue, present.digests);
  const ChangeTurn turn(&wait);
  if (kept) record.KeepNext(plan.next(), DigestsOf(plan.next()));
  if (!present.live.stamp.IsCurrent()) {  // to keep them took its time
    block.Keep(false);
    return false;
  }
  // Where one kind is replaced nothing is ever put back; and a large catalogue is not held thrice.
  if (!plan.policies() || !plan.datastores()) whatIs->live.catalogue = {};
  DamagedStore aside(present.damage.empty() ? "" : present.live.stamp.path());
  try {
    Replacement(present.live, plan.next(), plan.policies(), plan.datastores())
        .Run(&wait, progress, record);
  } catch (...) {
    if (!aside.PutBack() && !IsAsBefore(present)) record.Stay();
    throw;
  }
  output->changedHost = true;
  output->text += aside.Text();
  record.Complete();
  whatIs->live.catalogue = {};
  progress->Begin("reading the catalogue back");
  ReadBack(plan);
  return true;
}

}  // namespace

void ChangeOptions::Declare(CLI::App& verb) {
  DeclareFlag(verb, "-y,--yes", &confirmed_, "confirm that something is to be deleted");
  DeclareFlag(verb, "--dry-run", &dryRun_, "show what would be done and write nothing");
  DeclareFlag(verb, "--check", &check_,
              "the same, with exit status 1 where something would be\n"
              "done");
  DeclareFlag(verb, "-q,--quiet", &quiet_, "print nothing of what differs and what was done");
  format_.Declare(verb, "-o,--output", "FORMAT",
                  "table, or json: what was done, counts and digests");
  format_.OfferChoices("table json");
  DeclareFlag(verb, "--no-history", &noHistory_,
              "do not keep the present catalogue nor the new one: for\n"
              "a catalogue that is damaged, or a disk that is full");
  DeclareFlag(verb, "--replace-damaged", &replaceDamaged_,
              "put a store's file that is damaged aside, under a name\n"
              "with the time, and begin with an empty one");
  expected_.Declare(verb, "--expect", "DIGESTS",
                    "change nothing unless the digests are these,\n"
                    "POLICIES:DATASTORES");
}

void ChangeOptions::Check() const {
  if (expected_.Given()) DigestsIn(expected_, "--expect");
  IsJson(format_);
  if (format_.Given() && quiet_) throw UsageError("--quiet and --output exclude each other");
}

std::string CountedRecords(std::size_t policies, std::size_t datastores) {
  return Counted(policies, "policy", "policies") + " and " +
         Counted(datastores, "datastore", "datastores");
}

namespace {

enum class ChangeResult { kNothingDiffers, kDryRun, kDone };

struct ChangeOutcome {
  ChangeResult result;
  nlohmann::ordered_json json;  // with -o json
};

// That the change may not last.
void WarnOfTheAgent(ProgressLine* progress) {
  const std::string warning = WarningOfAgent();
  if (warning.empty()) return;
  progress->Hide();
  WriteErrorLine(warning);
}

ChangeOutcome ChangeFrom(const ChangeRequest& request, const ChangeOptions& options,
                         const MakeCatalogue& make, Catalogue next, ProgressLine* progress,
                         CommandOutput* output) {
  options.Check();
  const InterruptNotice notice;
  const std::string shownBefore = output->text;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    progress->Begin("reading the present catalogue");
    Present present =
        ReadPresent(request.replacesDamaged || options.replaceDamaged(), options.noHistory());
    make(present.live.catalogue, &next);
    const bool isEmpty =
        present.live.catalogue.policies.empty() && present.live.catalogue.datastores.empty();
    // A host without a catalogue has nothing to lose.
    const std::string basis = request.obeysBasis && !isEmpty ? next.basis : "";
    const Plan plan(request, present, &next);
    const auto end = [&](ChangeResult result) {
      return ChangeOutcome{result, options.asJson() ? plan.AsJson() : nullptr};
    };
    if (!plan.IsNeeded() && (!request.wipes || options.dryRun())) {
      return end(ChangeResult::kNothingDiffers);
    }
    if (attempt == 0 && !options.quiet()) WarnOfTheAgent(progress);
    ExpectBasis(options.expected(), present, "look at the catalogue, and change it anew");
    ExpectBasis(basis, present, "export it and change it anew, or apply with --force");
    const bool shows = !options.quiet() && !options.asJson();
    if (shows && (!request.wipes || options.dryRun())) output->text = shownBefore + plan.Text();
    if (options.dryRun()) return end(ChangeResult::kDryRun);
    const std::string loss = plan.Loss();
    const bool asks = !loss.empty() && !options.confirmed();
    if (asks) Confirm(request, loss, progress, output);
    if (!plan.IsNeeded()) return end(ChangeResult::kNothingDiffers);
    if (present.live.stamp.IsCurrent() &&
        CarryOut(request.verb, options, &present, plan, progress, output)) {
      return end(ChangeResult::kDone);
    }
    if (asks) {
      progress->Hide();
      WriteErrorLine("another process has changed the catalogue meanwhile; what differs now:");
    }
  }
  throw CommandError(ExitStatus::kStore,
                     "other processes keep changing the catalogue; nothing was changed; try again");
}

ExitStatus ChangeAndTell(const ChangeRequest& request, const ChangeOptions& options,
                         const MakeCatalogue& make, Catalogue next, ProgressLine* progress,
                         CommandOutput* output) {
  auto [result, json] = ChangeFrom(request, options, make, std::move(next), progress, output);
  const bool done = result == ChangeResult::kDone;
  const bool differs = result != ChangeResult::kNothingDiffers;
  if (options.asJson()) {
    json["changed"] = done;
    json["differs"] = differs;
    json["store"] = BackendSwitch().on ? "store" : "file";
    json["note"] = BytesAsJson(output->text + NoteOfAnotherBackend());
    output->text = JsonOnOneLine(json) + '\n';
  } else if (!options.quiet()) {
    const std::string what = done      ? request.done
                             : differs ? "would " + request.would
                                       : request.nothing;
    output->text += what + ' ' + SelectedBackendPlace() +
                    (done ? "\n" : "; nothing was written\n") + NoteOfAnotherBackend();
  }
  return options.checksOnly() && differs ? ExitStatus::kNo : ExitStatus::kDone;
}

}  // namespace

ExitStatus ChangeCatalogue(const ChangeRequest& request, const ChangeOptions& options,
                           const MakeCatalogue& make, ProgressLine* progress,
                           CommandOutput* output) {
  return ChangeAndTell(request, options, make, {}, progress, output);
}

ExitStatus ChangeCatalogue(const ChangeRequest& request, const ChangeOptions& options,
                           Catalogue next, ProgressLine* progress, CommandOutput* output) {
  const auto asItIs = [](const Catalogue&, Catalogue*) {};
  return ChangeAndTell(request, options, asItIs, std::move(next), progress, output);
}

}  // namespace Quorctl
