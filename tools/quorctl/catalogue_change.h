// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Replacing the host's catalogue: the one path that every changing command takes.
//
// The differences are shown; what deletes something is confirmed; what there was is kept in the
// history; then policies and datastores are replaced, and the policies are put back when the
// datastores cannot be.
#ifndef TOOLS_QUORCTL_CATALOGUE_CHANGE_H_
#define TOOLS_QUORCTL_CATALOGUE_CHANGE_H_

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "catalogue/catalogue.h"
#include "command.h"
#include "progress_line.h"

namespace Quorctl {

class ChangeOptions {
 public:
  // The words for a synopsis.
  static constexpr char kSynopsis[] = "[CHANGE OPTION]...";

  void Declare(CLI::App& verb);

  bool confirmed() const { return confirmed_; }
  bool dryRun() const { return dryRun_; }
  bool noHistory() const { return noHistory_; }

 private:
  bool confirmed_ = false;
  bool dryRun_ = false;
  bool noHistory_ = false;
};

struct ChangeRequest {
  std::string verb;  // for messages and the history
  bool replacesPolicies = true;
  bool replacesDatastores = true;
  bool mayAsk = true;  // false: standard input is used up
};

enum class ChangeResult { kNothingDiffers, kDryRun, kDone };

// Makes `next` the catalogue of the host store that this process uses, or those of its records that
// the request names. Adds to `output` what differs and what was done with it; the last line, which
// tells of success, is the caller's. Raises CommandError: kNotConfirmed; kStore and kPermission
// with what has become of the host; others as the library.
ChangeResult ChangeCatalogue(const ChangeRequest& request, const ChangeOptions& options,
                             Catalogue next, ProgressLine* progress, CommandOutput* output);

// Deletes everything, under the same terms. Whatever is stored, it has to be confirmed. Nothing
// differs when nothing is stored.
ChangeResult EmptyCatalogue(const ChangeOptions& options, ProgressLine* progress,
                            CommandOutput* output);

// "16 policies and 1 datastore"
std::string CountedRecords(std::size_t policies, std::size_t datastores);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_CATALOGUE_CHANGE_H_
