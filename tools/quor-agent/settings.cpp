// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "settings.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <stdexcept>

#include "catalogue/text/terminal_text.h"

namespace QuorAgent {
namespace {

constexpr int kUsage = 2;
constexpr char kConfigFile[] = "/etc/quor/quor-agent.conf";

constexpr char kFooter[] =
    "Signals: SIGTERM and SIGINT end it between two changes.\n"
    "Exit statuses: 0 done; 1 --dry-run found something to change; 2 the command line or the\n"
    "configuration file is wrong; 3 the centre cannot be asked; 4 the release is refused, or "
    "drift\n"
    "is left; 5 the host's catalogue or the state directory cannot be used; 75 another agent has\n"
    "the state directory. See quor-agent(8).";

void DeclareSeconds(CLI::App* app, const std::string& name, double* value, double least,
                    const std::string& help) {
  app->add_option(name, *value, help)
      ->type_name("SECONDS")
      ->capture_default_str()
      ->check(CLI::Range(least, 86400.0));
}

void Declare(CLI::App* app, Settings* settings) {
  app->set_config("--config", kConfigFile, "file with the options below, a line each: period = 30");
  app->allow_config_extras(CLI::config_extras_mode::error);
  app->add_option("--connection", settings->connection,
                  "the centre, as libpq knows it: \"host=c1,c2 dbname=quor\"")
      ->type_name("STRING");
  app->add_option("--state", settings->stateDirectory, "the agent's own directory")
      ->type_name("DIR")
      ->capture_default_str();
  app->add_option("--key", settings->keyFile,
                  "public key (PEM, Ed25519) that every release must be signed for")
      ->type_name("FILE");
  app->add_option("--metrics", settings->metricsFile, "write figures in OpenMetrics text to it")
      ->type_name("FILE");
  DeclareSeconds(app, "--period", &settings->period, 0.1, "how often the centre is asked, +-20 %");
  DeclareSeconds(app, "--splay", &settings->splay, 0, "wait so long at most before a fetch");
  DeclareSeconds(app, "--timeout", &settings->timeout, 0.1,
                 "deadline of one cycle with the centre");
  DeclareSeconds(app, "--check-period", &settings->checkPeriod, 0.1,
                 "how often the host is compared with what it is to hold");
  app->add_option("--drift", settings->drift, "what is done about changes by others")
      ->type_name("repair|report")
      ->capture_default_str()
      ->check(CLI::IsMember({"repair", "report"}));
  DeclareSeconds(app, "--repair-period", &settings->repairPeriod, 0, "repair once in this time");
  DeclareSeconds(app, "--report-period", &settings->reportPeriod, 1,
                 "tell the centre once in this time though nothing changed");
  app->add_flag("--keep-connection", settings->keepsConnection,
                "keep the connection between two cycles: for a connection pooler")
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

void DeclareOneShot(CLI::App* app, Settings* settings) {
  const auto unconfigured = [](CLI::Option* option) { return option->configurable(false); };
  auto* const once = unconfigured(app->add_flag("--once", settings->once, "one cycle, then end"));
  auto* const dryRun = unconfigured(app->add_flag(
      "--dry-run", settings->dryRun, "print what one cycle would change, and change nothing"));
  once->excludes(dryRun);
  auto* const from = unconfigured(
      app->add_option("--from", settings->from,
                      "take this catalogue document once, in place of the centre's release")
          ->type_name("FILE"));
  for (auto* const option :
       {app->add_option("--release", settings->release, "the release that FILE is, for later")
            ->type_name("N")
            ->check(CLI::PositiveNumber),
        app->add_flag("--may-empty", settings->mayEmpty, "FILE may be without records"),
        app->add_flag("--may-shrink", settings->mayShrink,
                      "FILE may delete more than a fifth of the records")}) {
    unconfigured(option)->needs(from);
  }
}

std::nullopt_t Mistake(const std::string& message, int* status) {
  std::fprintf(stderr, "quor-agent: %s (see: quor-agent --help)\n",
               Quorctl::EscapeForTerminal(message).c_str());
  *status = kUsage;
  return std::nullopt;
}

}  // namespace

std::optional<Settings> ReadSettings(int count, char** words, int* status) {
  Settings settings;
  CLI::App app("Keeps this host's catalogue equal to the release of its channel at the centre.",
               "quor-agent");
  app.footer(kFooter);
  app.set_version_flag("--version", "quor-agent " QUOR_AGENT_VERSION);
  Declare(&app, &settings);
  DeclareOneShot(&app, &settings);
  try {
    app.parse(count, words);
  } catch (const CLI::Success& asked) {
    *status = app.exit(asked);
    return std::nullopt;
  } catch (const CLI::ConfigError& failure) {
    return Mistake(app["--config"]->as<std::string>() + ": " + failure.what(), status);
  } catch (const CLI::Error& failure) {
    return Mistake(failure.what(), status);
  }
  if (!settings.from.empty() && !settings.dryRun) settings.once = true;
  return settings;
}

}  // namespace QuorAgent
