// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The agent's settings, from the command line and, with lower precedence, the configuration file.
#ifndef TOOLS_QUOR_AGENT_SETTINGS_H_
#define TOOLS_QUOR_AGENT_SETTINGS_H_

#include <cstdint>
#include <optional>
#include <string>

namespace QuorAgent {

struct Settings {
  std::string connection;  // as libpq knows it; empty: from libpq's environment
  std::string stateDirectory = "/var/lib/quor-agent";
  std::string keyFile;      // the publisher's public key; empty: signatures are not looked at
  std::string metricsFile;  // empty: none
  double period = 30;       // seconds, each of them
  double splay = 10;
  double timeout = 20;  // of everything that one cycle asks the centre
  double checkPeriod = 60;
  double repairPeriod = 300;
  double reportPeriod = 300;
  std::string drift = "repair";  // or "report"
  bool keepsConnection = false;

  bool once = false;
  bool dryRun = false;
  std::string from;  // a document in place of the centre
  std::optional<std::int64_t> release;
  bool mayEmpty = false;
  bool mayShrink = false;
};

// Returns nothing if the program is to end with `*status`: help or version was printed, or the
// command line is wrong.
std::optional<Settings> ReadSettings(int count, char** words, int* status);

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_SETTINGS_H_
