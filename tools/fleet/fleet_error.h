// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A failure between a host and the centre: kind, server, reason and advice.
#ifndef TOOLS_FLEET_FLEET_ERROR_H_
#define TOOLS_FLEET_FLEET_ERROR_H_

#include <stdexcept>
#include <string>
#include <utility>

namespace QuorFleet {

enum class FleetProblem {
  kSettings,     // a connection string, a key or another setting is wrong
  kUnreachable,  // no server answered, or none that will do
  kDenied,       // the server does not let this role in, or does not let it do this
  kTimeout,      // a deadline passed; what was asked for may have been done
  kLost,         // the connection broke; what was asked for may have been done
  kRefused,      // the server refused the statement; see sqlState()
};

// "centre db1:5432: the reason; the advice".
class FleetError : public std::runtime_error {
 public:
  FleetError(FleetProblem problem, const std::string& server, const std::string& reason,
             const std::string& advice, std::string sqlState = "")
      : std::runtime_error((server.empty() ? "" : "centre " + server + ": ") + reason +
                           (advice.empty() ? "" : "; " + advice)),
        problem_(problem),
        reason_(reason),
        sqlState_(std::move(sqlState)) {}

  FleetProblem problem() const { return problem_; }
  const std::string& reason() const { return reason_; }
  const std::string& sqlState() const { return sqlState_; }  // five characters, or none

 private:
  FleetProblem problem_;
  std::string reason_;
  std::string sqlState_;
};

}  // namespace QuorFleet

#endif  // TOOLS_FLEET_FLEET_ERROR_H_
