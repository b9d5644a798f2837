// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue_change.h"

#include <unistd.h>

#include <cerrno>
#include <exception>
#include <optional>
#include <system_error>
#include <utility>

#include "catalogue/difference.h"
#include "catalogue/document_writer.h"
#include "catalogue/duplicates.h"
#include "change_turn.h"
#include "check/stored_content.h"
#include "confirmation.h"
#include "difference_layout.h"
#include "history.h"
#include "host_backend.h"
#include "interrupt_notice.h"
#include "live_catalogue.h"
#include "lock_wait.h"
#include "signal_block.h"
#include "standard_streams.h"
#include "stored_records.h"

namespace Quorctl {

using TavQuor::QuorLib;

namespace {

// Each attempt begins anew because another process was faster; more than a few means a quarrel.
constexpr int kAttempts = 10;

std::string Counted(std::size_t count, const std::string& singular, const std::string& plural) {
  return std::to_string(count) + ' ' + (count == 1 ? singular : plural);
}

// What the host has before the change.
struct Present {
  Digests digests;  // from before the records were read
  Catalogue catalogue;
  std::size_t lostPolicies = 0;  // those that cannot be read
  std::size_t lostDatastores = 0;

  std::size_t Lost() const { return lostPolicies + lostDatastores; }

  std::string LostInWords() const {
    return Counted(Lost(), "record", "records") + " that cannot be read";
  }

  // To be put behind what else there is.
  std::string AndLost() const { return Lost() > 0 ? " and " + LostInWords() : ""; }
};

// What is to be kept has to be complete; without history the operator wants to be rid of it.
Present ReadPresent(const ChangeOptions& options) {
  Present present;
  present.digests = QuorLib::GetDbHash();
  if (!options.noHistory()) {
    present.catalogue = ReadLiveCatalogue();
    return present;
  }
  const StoredRecords stored;
  present.catalogue.policies = QuorLib::ListPolicyInfo();
  present.catalogue.datastores = QuorLib::ListDatastoreInfo();
  present.lostPolicies = stored.LostPolicies(present.catalogue.policies.size());
  present.lostDatastores = stored.LostDatastores(present.catalogue.datastores.size());
  return present;
}

bool IsUnchanged(const Present& present) {
  return QuorLib::GetDbHash() == present.digests;
}

// Where the catalogue itself or the disk is what is in the way. Another process, a right that is
// missing or a directory that is not safe would be in the way of the change too.
bool HelpsToKeepNothing(const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const CommandError&) {
    return true;
  } catch (const std::system_error& error) {
    const int code = error.code().value();
    return code == ENOSPC || code == EDQUOT || code == EFBIG;
  } catch (...) {
    return false;
  }
}

// The present catalogue in the history, for as long as the change may need it.
class KeptCatalogue {
 public:
  KeptCatalogue(const Present& present, const std::string& verb, const ChangeOptions& options,
                LockWait* wait) {
    if (options.noHistory()) return;
    try {
      wait->Do("keeping the present catalogue", [&] {
        number_ = KeepInHistory(present.catalogue, present.digests, BackendSwitch().on, verb);
      });
    } catch (const WaitEnded&) {
      throw;
    } catch (...) {
      const Failure failure = DescribeCurrentException();
      throw CommandError(
          failure.status,
          "the present catalogue could not be kept in the history, so nothing was "
          "changed: " +
              failure.message +
              (HelpsToKeepNothing(std::current_exception()) ? "; --no-history changes it without"
                                                            : ""));
    }
  }
  KeptCatalogue(const KeptCatalogue&) = delete;
  KeptCatalogue& operator=(const KeptCatalogue&) = delete;
  // A change that did not happen needs no way back.
  ~KeptCatalogue() {
    if (number_ && !needed_) RemoveFromHistory(*number_);
  }

  void StayUnlessUnchanged(const Present& present) noexcept {
    try {
      needed_ = !IsUnchanged(present);
    } catch (...) {
      needed_ = true;  // nobody knows, so it stays
    }
  }

  void Stay() {
    needed_ = true;
    if (!number_) return;
    try {
      TrimHistory();
    } catch (const std::system_error& failure) {
      throw CommandError(ExitStatus::kStore,
                         std::string("the change was made, but the oldest catalogues of the "
                                     "history could not be removed: ") +
                             failure.what());
    }
  }

  std::string Advice() const {
    return number_ ? "; the old catalogue is number " + std::to_string(*number_) +
                         " of the history (\"quorctl restore " + std::to_string(*number_) + "\")"
                   : "";
  }

 private:
  std::optional<std::uint64_t> number_;
  bool needed_ = false;
};

// Shows what was found out so far and asks; raises CommandError for a no.
void Confirm(const ChangeRequest& request, const std::string& loss, ProgressLine* progress,
             CommandOutput* output) {
  const std::string place = SelectedBackendPlace();
  if (!request.mayAsk || !CanAsk()) {
    throw CommandError(ExitStatus::kNotConfirmed, request.verb + " would delete " + loss +
                                                      " from " + place +
                                                      "; nothing was changed; confirm with --yes");
  }
  progress->Hide();
  if (const int error = WriteStandardOutput(std::exchange(output->text, ""))) {
    throw CommandError(ExitStatus::kStore, "cannot write to standard output: " +
                                               std::generic_category().message(error) +
                                               "; nothing was changed");
  }
  if (!Ask("Delete " + loss + " from " + place + '?')) {
    throw CommandError(ExitStatus::kNotConfirmed, "not confirmed; nothing was changed");
  }
}

// `written` is the digest of the policies that this process wrote: others are another writer's.
void PutPoliciesBack(const Present& present, const std::string& written, const Failure& failure,
                     const KeptCatalogue& kept) {
  bool ofAnother = false;
  try {
    ofAnother = QuorLib::GetDbHash().first != written;
    if (!ofAnother) QuorLib::AddPolicyInfo(present.catalogue.policies);
  } catch (...) {
    const Failure second = DescribeCurrentException();
    throw CommandError(
        failure.status,
        "the policies were replaced but the datastores were not: " + failure.message +
            "; the old policies could not be put back either: " + second.message + kept.Advice());
  }
  if (ofAnother) {
    throw CommandError(
        failure.status,
        "the policies were replaced but the datastores were not: " + failure.message +
            "; another process has changed the policies since, so the old ones were "
            "not put back" +
            kept.Advice());
  }
  throw CommandError(failure.status,
                     "the datastores could not be replaced: " + failure.message +
                         "; the policies, which had been, were put back: the catalogue is as it "
                         "was before");
}

// A replacement of what differs.
class Replacement {
 public:
  Replacement(const ChangeRequest& request, const Present& present, Catalogue* next)
      : present_(present), next_(*next) {
    if (!request.replacesPolicies) next_.policies = present.catalogue.policies;
    if (!request.replacesDatastores) next_.datastores = present.catalogue.datastores;
    differences_ = CompareCatalogues(present.catalogue, next_);
    const bool all = IsWantedWhole();
    policies_ = request.replacesPolicies && (all || Differs(RecordKind::kPolicy));
    datastores_ = request.replacesDatastores && (all || Differs(RecordKind::kDatastore));
    const bool allMayBe = request.replacesPolicies && request.replacesDatastores;
    if (allMayBe && !(policies_ && datastores_)) LookAtWhatIsStored();
  }

  bool IsNeeded() const { return policies_ || datastores_; }

  std::string Text() const {
    return (differences_.empty() ? "" : Changes()) +
           (whyAnew_.empty() ? "" : "all records are to be written anew: " + whyAnew_ + '\n');
  }

  // What is deleted, in words; empty when nothing is.
  std::string Loss() const {
    const std::size_t policies = CountOf(differences_, Change::kDeleted, RecordKind::kPolicy);
    const std::size_t datastores = CountOf(differences_, Change::kDeleted, RecordKind::kDatastore);
    std::string loss;
    if (policies + datastores > 0) loss = CountedRecords(policies, datastores);
    if (!loss.empty()) return loss + present_.AndLost();
    return present_.Lost() > 0 ? present_.LostInWords() : loss;
  }

  // Up to the first replacement a signal may end it.
  void Run(LockWait* wait, ProgressLine* progress, const KeptCatalogue& kept) const {
    if (MustDeleteFirst()) {
      DeleteAndWrite(wait, progress);
      return;
    }
    if (policies_) wait->Do(PoliciesStep(), [this] { WritePolicies(); });
    if (!datastores_) return;
    if (!policies_) {
      wait->Do(DatastoresStep(), [this] { WriteDatastores(); });
      return;
    }
    const std::string written = QuorLib::GetDbHash().first;
    try {
      progress->Begin(DatastoresStep());
      WriteDatastores();
    } catch (...) {
      const Failure failure = DescribeCurrentException();
      PutPoliciesBack(present_, written, failure, kept);
    }
  }

 private:
  std::string Changes() const {
    RecordChoices choices;
    choices.forTerminal = isatty(STDOUT_FILENO) == 1;
    choices.colour = StandardOutputTakesColour();
    RecordWriter writer(DifferenceLayout(), choices);
    AddDifferences(differences_, &writer);
    return writer.Text() + Counts(Change::kDeleted) + " to delete, " + Counts(Change::kAdded) +
           " to add, " + Counts(Change::kChanged) + " to change\n";
  }

  // Records that are all the same can be stored in a way that the library would not have.
  void LookAtWhatIsStored() {
    whyAnew_ = WhyToWriteAnew(BackendSwitch().on);
    if (!whyAnew_.empty()) policies_ = datastores_ = true;
  }

  // The configuration store verifies what a change keeps: with a damaged datastore the policies
  // could not be replaced alone.
  bool MustDeleteFirst() const {
    return present_.lostDatastores > 0 && policies_ && datastores_ && BackendSwitch().on;
  }

  void DeleteAndWrite(LockWait* wait, ProgressLine* progress) const {
    wait->Do("deleting what cannot be read", [] { QuorLib::Reset(); });
    try {
      progress->Begin(PoliciesStep());
      WritePolicies();
      progress->Begin(DatastoresStep());
      WriteDatastores();
    } catch (...) {
      const Failure failure = DescribeCurrentException();
      throw CommandError(failure.status,
                         "what was stored is deleted, because of the records that cannot be read, "
                         "but not all could be written anew: " +
                             failure.message + "; do the same again");
    }
  }

  std::string PoliciesStep() const {
    return "replacing " + Counted(next_.policies.size(), "policy", "policies");
  }
  std::string DatastoresStep() const {
    return "replacing " + Counted(next_.datastores.size(), "datastore", "datastores");
  }
  void WritePolicies() const { QuorLib::AddPolicyInfo(next_.policies); }
  void WriteDatastores() const { QuorLib::AddDatastoreInfo(next_.datastores); }

  bool Differs(RecordKind kind) const {
    return CountOf(differences_, Change::kDeleted, kind) > 0 ||
           CountOf(differences_, Change::kAdded, kind) > 0 ||
           CountOf(differences_, Change::kChanged, kind) > 0;
  }

  // Also where no record differs: a replacement heals damage; and where keys repeat, lookups and
  // digests depend on the order of the records.
  bool IsWantedWhole() const {
    if (present_.Lost() > 0) return true;
    return differences_.empty() && !FindDuplicates(next_).empty() &&
           CatalogueAsDocument(next_) != CatalogueAsDocument(present_.catalogue);
  }

  std::string Counts(Change change) const {
    return CountedRecords(CountOf(differences_, change, RecordKind::kPolicy),
                          CountOf(differences_, change, RecordKind::kDatastore));
  }

  const Present& present_;
  Catalogue& next_;
  std::vector<Difference> differences_;
  std::string whyAnew_;  // the problem that makes a replacement of all necessary; may be empty
  bool policies_ = false;
  bool datastores_ = false;
};

// Does `change` with the present catalogue kept. False, with nothing done, when another process was
// faster.
template <typename Change>
bool CarryOut(const std::string& verb, const ChangeOptions& options, const Present& present,
              ProgressLine* progress, CommandOutput* output, const Change& change) {
  SignalBlock block;  // until policies and datastores are of one catalogue
  block.Keep(true);   // and what was done is told
  LockWait wait(progress);
  KeptCatalogue kept(present, verb, options, &wait);
  const ChangeTurn turn(&wait);
  bool unchanged = false;  // to keep it took its time
  wait.Do("comparing with the present catalogue", [&] { unchanged = IsUnchanged(present); });
  if (!unchanged) {
    block.Keep(false);
    return false;
  }
  try {
    change(&wait, kept);
  } catch (...) {
    kept.StayUnlessUnchanged(present);
    throw;
  }
  output->changedHost = true;
  kept.Stay();
  return true;
}

// In the configuration file these are two replacements, and only before the first one a signal may
// end them: its lock was free a moment ago.
void DeleteAll(LockWait* wait, ProgressLine* progress) {
  const std::string step = "deleting all policies and datastores";
  if (BackendSwitch().on) {
    wait->Do(step, [] { QuorLib::Reset(); });
  } else {
    progress->Begin(step);
    QuorLib::Reset();
  }
}

[[noreturn]] void RaiseQuarrel() {
  throw CommandError(ExitStatus::kStore,
                     "other processes keep changing the catalogue; nothing was changed; try again");
}

}  // namespace

void ChangeOptions::Declare(CLI::App& verb) {
  verb.add_flag("--yes", confirmed_, "confirm that records are to be deleted");
  verb.add_flag("--dry-run", dryRun_, "show what would be done and write nothing");
  verb.add_flag("--no-history", noHistory_,
                "do not keep the present catalogue: for one that is\n"
                "damaged, or a disk that is full");
}

std::string CountedRecords(std::size_t policies, std::size_t datastores) {
  return Counted(policies, "policy", "policies") + " and " +
         Counted(datastores, "datastore", "datastores");
}

ChangeResult ChangeCatalogue(const ChangeRequest& request, const ChangeOptions& options,
                             Catalogue next, ProgressLine* progress, CommandOutput* output) {
  const InterruptNotice notice;
  const std::string shownBefore = output->text;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    progress->Begin("reading the present catalogue");
    const Present present = ReadPresent(options);
    const Replacement replacement(request, present, &next);
    if (!replacement.IsNeeded()) return ChangeResult::kNothingDiffers;
    output->text = shownBefore + replacement.Text();
    if (options.dryRun()) return ChangeResult::kDryRun;
    const std::string loss = replacement.Loss();
    if (!loss.empty() && !options.confirmed()) Confirm(request, loss, progress, output);
    if (!IsUnchanged(present)) continue;
    const bool done = CarryOut(
        request.verb, options, present, progress, output,
        [&](LockWait* wait, const KeptCatalogue& kept) { replacement.Run(wait, progress, kept); });
    if (done) return ChangeResult::kDone;
  }
  RaiseQuarrel();
}

ChangeResult EmptyCatalogue(const ChangeOptions& options, ProgressLine* progress,
                            CommandOutput* output) {
  const InterruptNotice notice;
  const ChangeRequest request{"reset"};
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    progress->Begin("reading the present catalogue");
    const Present present = ReadPresent(options);
    const Catalogue& catalogue = present.catalogue;
    if (options.dryRun()) {
      output->text += CountedRecords(catalogue.policies.size(), catalogue.datastores.size()) +
                      present.AndLost() + " to delete\n";
      return ChangeResult::kDryRun;
    }
    if (!options.confirmed()) {
      Confirm(request, "all policies and datastores" + present.AndLost(), progress, output);
    }
    if (!IsUnchanged(present)) continue;
    if (catalogue.policies.empty() && catalogue.datastores.empty() && present.Lost() == 0) {
      return ChangeResult::kNothingDiffers;
    }
    const bool done =
        CarryOut(request.verb, options, present, progress, output,
                 [progress](LockWait* wait, const KeptCatalogue&) { DeleteAll(wait, progress); });
    if (done) return ChangeResult::kDone;
  }
  RaiseQuarrel();
}

}  // namespace Quorctl
