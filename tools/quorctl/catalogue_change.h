// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Replacing the host's catalogue: the one path that every changing command takes.
//
// The present catalogue is read once. The differences are shown; what takes something away is
// confirmed; what there was and what is to be are kept in the history; then policies and datastores
// are replaced (replacement.h), and read back.
#ifndef TOOLS_QUORCTL_CATALOGUE_CHANGE_H_
#define TOOLS_QUORCTL_CATALOGUE_CHANGE_H_

#include <functional>
#include <string>

#include "argument.h"
#include "catalogue/catalogue.h"
#include "catalogue/digests.h"
#include "catalogue/losses.h"
#include "command.h"
#include "option_values.h"
#include "progress_line.h"

namespace Quorctl {

class ChangeOptions {
 public:
  // The words for a synopsis.
  static constexpr char kSynopsis[] = "[CHANGE OPTION]...";

  void Declare(CLI::App& verb);

  // Raises UsageError for options that contradict each other.
  void Check() const;

  bool confirmed() const { return confirmed_; }
  bool checksOnly() const { return check_; }
  bool dryRun() const { return dryRun_ || check_; }
  bool noHistory() const { return noHistory_; }
  bool replaceDamaged() const { return replaceDamaged_; }
  // The digests that the catalogue has to have; empty for any.
  std::string expected() const { return expected_.Given() ? expected_.Value() : ""; }
  bool quiet() const { return quiet_; }
  bool asJson() const { return IsJson(format_); }

 private:
  bool confirmed_ = false;
  bool dryRun_ = false;
  bool check_ = false;
  bool quiet_ = false;
  bool noHistory_ = false;
  bool replaceDamaged_ = false;
  Argument expected_;
  Argument format_;
};

struct ChangeRequest {
  std::string verb;   // for messages and the history
  std::string would;  // "apply 16 policies to": what the last line says before the place
  std::string done;   // "applied 16 policies to"
  std::string nothing = "nothing differs from";
  std::string advice = {};  // on the problems that the change creates; may be empty
  bool replacesPolicies = true;
  bool replacesDatastores = true;
  bool mayAsk = true;            // false: standard input is used up
  bool wipes = false;            // has to be confirmed whatever is stored, and shows counts alone
  bool replacesDamaged = false;  // as with --replace-damaged
  bool obeysBasis = false;       // of the new catalogue
};

// Makes the new catalogue from the present one. Called again if the present one has changed.
using MakeCatalogue = std::function<void(const Catalogue& present, Catalogue* next)>;

// Replaces the catalogue of the host store that this process uses, or the kinds of records that the
// request names, by the result of `make`. Adds the differences and what was done to `output`.
// Raises CommandError: kNotConfirmed; kMoved if the catalogue is not the one that the change is
// based on; kStore and kPermission, with the state in which the host was left; and the library's
// exceptions.
ExitStatus ChangeCatalogue(const ChangeRequest& request, const ChangeOptions& options,
                           const MakeCatalogue& make, ProgressLine* progress,
                           CommandOutput* output);

// The same for one that is there already.
ExitStatus ChangeCatalogue(const ChangeRequest& request, const ChangeOptions& options,
                           Catalogue next, ProgressLine* progress, CommandOutput* output);

// "16 policies and 1 datastore"
std::string CountedRecords(std::size_t policies, std::size_t datastores);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_CATALOGUE_CHANGE_H_
