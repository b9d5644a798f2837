// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// quor-agent: keeps one host's catalogue equal to the release of its channel at the centre.
#include <exception>
#include <new>

#include "agent.h"
#include "journal.h"
#include "settings.h"
#include "stop_request.h"

namespace QuorAgent {
namespace {

Outcome RunAsAsked(const Settings& settings) {
  try {
    if (settings.dryRun) return Agent(settings, nullptr).DryRun();
    StopRequest stop;
    Agent agent(settings, &stop);
    return settings.once ? agent.RunOnce() : agent.Run();
  } catch (const DirectoryTaken& failure) {
    Log(Severity::kError, failure.what());
    return Outcome::kTaken;
  } catch (const std::exception& failure) {
    Log(Severity::kError, failure.what());
    return Outcome::kFailed;
  }
}

}  // namespace
}  // namespace QuorAgent

int main(int argc, char** argv) {
  int status = 0;
  try {
    const auto settings = QuorAgent::ReadSettings(argc, argv, &status);
    return settings ? static_cast<int>(QuorAgent::RunAsAsked(*settings)) : status;
  } catch (...) {  // no memory left even for a message
    return static_cast<int>(QuorAgent::Outcome::kFailed);
  }
}
