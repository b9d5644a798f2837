// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "publication.h"

#include <unistd.h>

#include <utility>

#include "catalogue/difference.h"
#include "catalogue/losses.h"
#include "catalogue/text/terminal_text.h"
#include "confirmation.h"
#include "difference_layout.h"
#include "fleet/compression.h"
#include "fleet/fleet_error.h"
#include "fleet/release.h"
#include "fleet/sha256.h"
#include "fleet/signature.h"
#include "input_file.h"
#include "yaml_document.h"

namespace QuorPublish {

using Quorctl::Catalogue;
using Quorctl::Change;
using Quorctl::Counted;
using Quorctl::Difference;
using Quorctl::RecordKind;

namespace {

struct Draft {
  Catalogue catalogue;
  std::string text;  // canonical
  std::string sha256;
};

Draft DraftOf(Catalogue catalogue) {
  Draft draft;
  draft.text = QuorFleet::CanonicalDocument(catalogue);
  draft.sha256 = QuorFleet::Sha256Hex(draft.text);
  draft.catalogue = std::move(catalogue);
  return draft;
}

std::string SizeOf(const Catalogue& catalogue) {
  return Counted(catalogue.policies.size(), "policy", "policies") + " and " +
         Counted(catalogue.datastores.size(), "datastore", "datastores");
}

std::string CountsOf(const std::vector<Difference>& differences, Change change, const char* todo) {
  return Counted(CountOf(differences, change, RecordKind::kPolicy), "policy", "policies") +
         " and " +
         Counted(CountOf(differences, change, RecordKind::kDatastore), "datastore", "datastores") +
         todo;
}

std::string DifferencesAsText(const std::vector<Difference>& differences) {
  Quorctl::RecordChoices choices;
  choices.forTerminal = isatty(STDOUT_FILENO) == 1;
  choices.colour = Quorctl::StandardOutputTakesColour();
  Quorctl::RecordWriter writer(Quorctl::DifferenceLayout(), choices);
  constexpr std::size_t kMostOnTerminal = 40;
  const std::size_t most =
      choices.forTerminal ? std::min(kMostOnTerminal, differences.size()) : differences.size();
  Quorctl::AddDifferences(differences, most, &writer);
  std::string text = CountsOf(differences, Change::kDeleted, " to delete, ") +
                     CountsOf(differences, Change::kAdded, " to add, ") +
                     CountsOf(differences, Change::kChanged, " to change\n") + writer.Text();
  if (most < differences.size()) {
    text += "... and " + std::to_string(differences.size() - most) +
            " more; add \"--dry-run | less\" to see them all\n";
  }
  return text;
}

class Publication {
 public:
  Publication(const CentreOptions& centre, PublishOptions options, Answer* answer)
      : centre_(centre, Centre::Use::kChange), options_(std::move(options)), answer_(*answer) {
    const std::vector<ReleaseRow> newest = ListReleases(centre_, 1);
    if (!newest.empty()) newest_ = newest.front();
  }

  Centre& centre() { return centre_; }

  // Sets the parent for a document that this command made from the newest release.
  void BasedOnNewest() {
    if (!options_.parent) options_.parent = newest_.id;
  }

  void Make(const Draft& draft) {
    ExpectParent(draft);
    if (draft.sha256 == newest_.sha256 && !options_.again) {
      answer_.text += "release " + std::to_string(newest_.id) +
                      " holds this document already; nothing was published\n";
      return;
    }
    Compare(draft);
    if (options_.dryRun) return;
    Confirm();
    const std::string id = std::to_string(Insert(draft));
    answer_.text += "published release " + id + ", " + SizeOf(draft.catalogue) + ", sha256 " +
                    draft.sha256 +
                    "\nno host is offered it yet; go on with \"quor-publish rollout " + id +
                    "\" or \"quor-publish promote " + id + " CHANNEL\"\n";
  }

 private:
  void ExpectParent(const Draft& draft) const {
    const std::string newest = newest_.id == 0 ? "there is none yet" : Described(newest_);
    if (!options_.parent) {
      throw UsageError(
          "publish needs --parent N, the newest release, on which the document is based: " +
          newest + (newest_.id == 0 ? ", give --parent 0" : ""));
    }
    if (*options_.parent == newest_.id) return;
    std::string message =
        "the newest release is not " + std::to_string(*options_.parent) + ": " + newest;
    if (newest_.id == 0) {
      message += "; nothing was published; give --parent 0";
    } else if (newest_.sha256 == draft.sha256) {
      message += ", which holds this very document: it was published";
    } else {
      const std::string id = std::to_string(newest_.id);
      message += "; nothing was published; look at it with \"quor-publish export " + id +
                 "\", base the document on it and give --parent " + id;
    }
    throw CommandError(ExitStatus::kMoved, message);
  }

  // Shows the difference, and refuses what the agents would refuse.
  void Compare(const Draft& draft) {
    Catalogue before;
    try {
      if (newest_.id != 0) before = ReadRelease(centre_, newest_.id);
    } catch (const QuorFleet::ReleaseRefused& refused) {
      answer_.text += std::string("what differs cannot be told: ") + refused.what() + '\n';
      loss_ = "what nobody can tell";
    }
    const auto differences = Quorctl::CompareCatalogues(before, draft.catalogue);
    if (!differences.empty()) answer_.text += DifferencesAsText(differences);
    const Quorctl::Losses losses = Quorctl::FindLosses(before, draft.catalogue, differences);
    if (losses.Any()) loss_ = losses.InWords();
    try {
      QuorFleet::ExpectNoLoss(0, before, draft.catalogue, options_.mayEmpty, options_.mayShrink);
    } catch (const QuorFleet::ReleaseRefused& refused) {
      throw CommandError(ExitStatus::kNotConfirmed, std::string("every host would refuse this: ") +
                                                        refused.what() + "; nothing was published");
    }
  }

  void Confirm() {
    if (loss_.empty() || options_.yes) return;
    const std::string base = " from release " + std::to_string(newest_.id);
    const bool inputIsUsed = options_.file == "-";
    centre_.progress().Hide();
    if (!Quorctl::CanAsk(inputIsUsed)) {
      throw CommandError(
          ExitStatus::kNotConfirmed,
          "this would delete " + loss_ + base + "; nothing was published; confirm with --yes");
    }
    Quorctl::AskOrRefuse("Delete " + loss_ + base + '?', &answer_.text, inputIsUsed);
  }

  ReleaseId Insert(const Draft& draft) {
    using QuorFleet::Parameter;
    std::optional<QuorFleet::SigningKey> key;
    if (!options_.keyFile.empty()) {
      key.emplace(Quorctl::ReadInput(options_.keyFile), options_.keyFile);
    }
    centre_.progress().Begin("sending the release");
    const std::string compressed = QuorFleet::Compressed(draft.text);
    const auto count = [](std::size_t size) { return Parameter(static_cast<std::int64_t>(size)); };
    ReleaseId id = 0;
    centre_.Change("the new release", [&] {
      id = centre_.Ask("select quor.next_release($1::bigint)", {newest_.id}).Number(0, 0);
      const Parameter parent = newest_.id == 0 ? Parameter() : Parameter(newest_.id);
      const Parameter signature = key ? Parameter::Bytes(key->Sign(id, draft.sha256)) : Parameter();
      centre_.Ask(
          "insert into quor.release (id, sha256, document, document_bytes, policies, datastores, "
          "parent, reason, may_empty, may_shrink, signature) values ($1::bigint, $2::text, $3, "
          "$4::bigint, $5::bigint, $6::bigint, $7::bigint, $8::text, $9::boolean, $10::boolean, "
          "$11::bytea)",
          {id, draft.sha256, Parameter::Bytes(compressed), count(draft.text.size()),
           count(draft.catalogue.policies.size()), count(draft.catalogue.datastores.size()), parent,
           options_.reason, options_.mayEmpty, options_.mayShrink, signature});
    });
    return id;
  }

  Centre centre_;
  PublishOptions options_;
  Answer& answer_;
  ReleaseRow newest_;
  std::string loss_;  // in words; empty when nothing is deleted
};

}  // namespace

void Publish(const CentreOptions& centre, const PublishOptions& options, Answer* answer) {
  if (options.reason.empty()) throw UsageError("publish needs --reason TEXT, which the log keeps");
  const std::string source = Quorctl::InputName(options.file);
  const Draft draft =
      DraftOf(QuorFleet::ReadWholeDocument(Quorctl::ReadDocument(options.file), source));
  Publication(centre, options, answer).Make(draft);
}

void RollBack(const CentreOptions& centre, PublishOptions options, Answer* answer) {
  const std::string source = std::to_string(options.source);
  if (options.reason.empty()) options.reason = "back to the document of release " + source;
  Publication publication(centre, options, answer);
  const Draft draft = DraftOf(ReadRelease(publication.centre(), options.source));
  publication.BasedOnNewest();
  publication.Make(draft);
}

void Export(const CentreOptions& centre, ReleaseId release, Answer* answer) {
  Centre opened(centre, Centre::Use::kRead);
  ReadRelease(opened, release, &answer->text);
}

}  // namespace QuorPublish
