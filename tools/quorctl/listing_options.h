// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The options of every command that lists records: -o, --fields, --sort, --where, --no-headings.
#ifndef TOOLS_QUORCTL_LISTING_OPTIONS_H_
#define TOOLS_QUORCTL_LISTING_OPTIONS_H_

#include "argument.h"
#include "text/record_writer.h"

namespace Quorctl {

class ListingOptions {
 public:
  // The words for a synopsis.
  static constexpr char kSynopsis[] = "[OUTPUT OPTION]...";

  // With `named` also "-o name".
  void Declare(CLI::App& verb, bool named = false);

  // Raises UsageError for options that contradict each other. "-o name" writes `nameField` alone,
  // the field that names a record, if there is one.
  RecordChoices Choices(const std::string& nameField = "") const;

 private:
  Argument format_;
  Argument fields_;
  Argument sort_;
  Arguments where_;
  bool noHeadings_ = false;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_LISTING_OPTIONS_H_
