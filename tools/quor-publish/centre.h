// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The publisher's connection to the centre: every question has a deadline, every change is
// confirmed by a synchronous standby.
#ifndef TOOLS_QUOR_PUBLISH_CENTRE_H_
#define TOOLS_QUOR_PUBLISH_CENTRE_H_

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "fleet/connection.h"
#include "progress_line.h"

namespace QuorPublish {

struct CentreOptions {
  std::string connectionString;  // empty: QUOR_CENTRE, then what libpq reads
  bool noStandby = false;
  std::chrono::seconds timeout = std::chrono::seconds(30);
};

class Centre {
 public:
  enum class Use { kRead, kChange };

  // Raises QuorFleet::FleetError.
  Centre(const CentreOptions& options, Use use);

  // Executes one statement outside of a transaction. Raises QuorFleet::FleetError.
  QuorFleet::Rows Ask(const std::string& statement,
                      const std::vector<QuorFleet::Parameter>& parameters = {},
                      QuorFleet::RowFormat format = QuorFleet::RowFormat::kText);

  // Executes `change` in one transaction, and returns once a synchronous standby shows its effect.
  // Changes nothing if there is no such standby, unless that was allowed. `what` names the change
  // in messages ("release 5"), also in the message that it is unknown whether the change was made.
  void Change(const std::string& what, const std::function<void()>& change);

  const std::string& server() const { return connection_.server(); }
  Quorctl::ProgressLine& progress() { return progress_; }

 private:
  void ExpectStandby();
  void Commit(const std::string& what);
  void TakeBack();

  CentreOptions options_;
  Quorctl::ProgressLine progress_;
  QuorFleet::Connection connection_;
};

}  // namespace QuorPublish

#endif  // TOOLS_QUOR_PUBLISH_CENTRE_H_
