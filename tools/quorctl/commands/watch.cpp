// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <charconv>
#include <chrono>
#include <cmath>
#include <ctime>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>

#include "argument.h"
#include "catalogue/digests.h"
#include "catalogue/text/json_text.h"
#include "catalogue/text/terminal_text.h"
#include "command_table.h"
#include "host_backend.h"
#include "option_values.h"
#include "platform/admin.h"
#include "quor/quor.h"
#include "quor/quor_lib.h"
#include "standard_streams.h"
#include "stop_signals.h"
#include "text/utc_time.h"

namespace Quorctl {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr milliseconds kNever(0);
constexpr milliseconds kRetryPeriod(2000);  // while the catalogue cannot be read
// libquor looks once in a tick of the system's clock, 10 ms at most, for a file that was put in
// place by hand: a question right after the last one could be answered from the one before.
constexpr milliseconds kTick(20);
constexpr double kShortestSeconds = 0.05;
constexpr double kLongestSeconds = 86400;

milliseconds PeriodOf(const std::string& text) {
  double seconds = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, seconds, std::chars_format::fixed);
  const bool inRange = seconds >= kShortestSeconds && seconds <= kLongestSeconds;
  if (error != std::errc() || stop != end || !inRange) {
    throw UsageError("--period " + Quoted(text) + ": give seconds from 0.05 to 86400");
  }
  return milliseconds(std::lround(seconds * 1000));
}

// Changes of the host directory, noticed by libquorc's change descriptor.
class Changes {
 public:
  explicit Changes(const std::string& directory) {
    quor_changes* opened = nullptr;
    quor_error* error = nullptr;
    Check(quor_changes_open(directory.c_str(), &opened, &error), error);
    changes_.reset(opened);
  }

  int Descriptor() const { return quor_changes_descriptor(changes_.get()); }
  std::string Fallback() const { return quor_changes_fallback(changes_.get()); }

  // Whether the catalogue may be another one than the last time.
  bool Take() {
    unsigned changed = 0;
    quor_error* error = nullptr;
    Check(quor_changes_read(changes_.get(), &changed, &error), error);
    return changed != 0;
  }

 private:
  static void Check(quor_status status, quor_error* error) {
    const std::unique_ptr<quor_error, void (*)(quor_error*)> held(error, quor_error_free);
    if (status != QUOR_OK) throw CommandError(ExitStatus::kStore, quor_error_message(error));
  }

  std::unique_ptr<quor_changes, void (*)(quor_changes*)> changes_{nullptr, quor_changes_close};
};

std::string TimeNow() {
  const std::string compact = CompactUtcTime(std::time(nullptr));
  return ExtendedUtcTime(compact).value_or(compact);
}

std::string WhatChanged(const Digests& before, const Digests& after) {
  if (before.first == after.first) return "datastores";
  return before.second == after.second ? "policies" : "policies,datastores";
}

constexpr char kFirst[] = "first";  // in place of what changed

std::string EventAsJson(const std::string& what, const Digests& digests) {
  nlohmann::ordered_json changed = nlohmann::ordered_json::array();
  for (const char* const kind : {"policies", "datastores"}) {
    if (what.find(kind) != what.npos) changed.push_back(kind);
  }
  return JsonOnOneLine({{"time", TimeNow()},
                        {"changed", changed},
                        {"policies", digests.first},
                        {"datastores", digests.second}});
}

void WriteLine(const std::string& line) {
  const int error = WriteStandardOutput(line + '\n');
  if (error == 0) return;
  throw CommandError(ExitStatus::kStore,
                     "cannot write to standard output: " + std::generic_category().message(error));
}

// Starts `sh -c script` with the signals as they were before the watch began.
pid_t StartShell(const std::string& script, const StopSignals& signals) {
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setsigmask(&attributes, &signals.OriginalMask());
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  std::string shell = "sh";
  std::string option = "-c";
  std::string text = script;
  char* const words[] = {shell.data(), option.data(), text.data(), nullptr};
  pid_t child = 0;
  const int error = posix_spawn(&child, "/bin/sh", nullptr, &attributes, words, environ);
  posix_spawnattr_destroy(&attributes);
  if (error != 0) throw std::system_error(error, std::generic_category(), "cannot start /bin/sh");
  return child;
}

class WatchCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "watch",
        {"[--first | --from DIGESTS] [-o FORMAT] [--period SECONDS]\n"
         "                     [--exec CMD]"},
        "print a line whenever the catalogue changes",
        "Waits until the host's files change, and asks for the two digests. Whenever they are\n"
        "others than before it prints the time, which of them changed (policies, datastores or\n"
        "policies,datastores), and both digests as \"quorctl digest --expect\" takes them.\n"
        "With --first it begins with a line for the catalogue as it is, \"first\" in place of\n"
        "what changed. With --from it begins where an earlier watch ended: a catalogue with\n"
        "other digests is a change. With -o json each line is an object, \"changed\" an array\n"
        "of the two words, empty for the first line.\n"
        "\n"
        "What is changed and changed back before it looks goes unnoticed, and so do the few\n"
        "changes that leave the digests as they are: see \"quorctl help digest\".\n"
        "\n"
        "Where the system cannot notify it says so on standard error, once, and looks at the\n"
        "files once a second.\n"
        "\n"
        "With --exec the shell runs CMD after each such line; it finds what changed in\n"
        "QUORCTL_CHANGED and the digests in QUORCTL_DIGESTS. Its end is waited for.\n"
        "\n"
        "A catalogue that cannot be read is reported on standard error, once, and watched\n"
        "on. Ends with status 0 when it is interrupted (SIGINT) or terminated (SIGTERM).\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    period_.Declare(verb, "--period", "SECONDS", "ask also when no file has changed for so long");
    script_.Declare(verb, "--exec", "CMD", "run this by the shell after each change");
    format_.Declare(verb, "-o,--output", "FORMAT", "table or json");
    format_.OfferChoices("table json");
    from_.Declare(verb, "--from", "DIGESTS",
                  "the digests that were seen last,\n"
                  "POLICIES:DATASTORES");
    DeclareFlag(verb, "--first", &first_, "begin with a line for the catalogue as it is");
  }

  ExitStatus Run(CommandOutput* /*output*/) override {
    const milliseconds period = period_.Given() ? PeriodOf(period_.Value()) : kNever;
    if (script_.Given() && script_.Value().empty()) throw UsageError("--exec: CMD is empty");
    json_ = IsJson(format_);
    if (first_ && from_.Given()) throw UsageError("--first and --from exclude each other");
    std::optional<Digests> known;
    if (from_.Given()) known = DigestsIn(from_, "--from");
    WaitBriefly();
    StopSignals signals;
    Changes changes(HostPlatform::HostDirectory());
    do {
      const std::optional<Digests> now = AskForDigests();
      if (now && known && *now != *known) {
        if (Report(WhatChanged(*known, *now), *now, &signals)) return ExitStatus::kDone;
      } else if (now && !known && first_) {
        Print(kFirst, *now);
      }
      if (now) known = now;
    } while (!AwaitChange(problem_.empty() ? period : kRetryPeriod, &changes, &signals));
    return ExitStatus::kDone;
  }

 private:
  // Nothing while the catalogue cannot be read.
  std::optional<Digests> AskForDigests() {
    try {
      Digests digests = TavQuor::QuorLib::GetDbHash();
      if (!problem_.empty()) WriteErrorLine("the catalogue can be read again");
      problem_.clear();
      return digests;
    } catch (...) {
      const Failure failure = DescribeCurrentException();
      if (failure.message != problem_) WriteErrorLine(failure.message + "; watching on");
      problem_ = failure.message;
      return std::nullopt;
    }
  }

  // Waits until the catalogue may have changed or the period is over. Returns true if the watch
  // should stop.
  bool AwaitChange(milliseconds period, Changes* changes, StopSignals* signals) {
    const auto now = steady_clock::now();
    const auto end = period == kNever ? steady_clock::time_point::max() : now + period;
    do {
      TellFallback(changes->Fallback());
      if (signals->WaitFor(changes->Descriptor(), end)) return true;
    } while (!changes->Take() && steady_clock::now() < end);
    TellFallback(changes->Fallback());
    std::this_thread::sleep_for(kTick);
    return false;
  }

  void TellFallback(const std::string& fallback) {
    if (fallback == fallback_) return;
    WriteErrorLine(fallback.empty() ? "changes are notified again"
                                    : fallback + "; looking at the files once a second");
    fallback_ = fallback;
  }

  void Print(const std::string& what, const Digests& digests) const {
    WriteLine(json_ ? EventAsJson(what, digests) : TimeNow() + ' ' + what + ' ' + Joined(digests));
  }

  // Returns true if the watch should stop.
  bool Report(const std::string& what, const Digests& after, StopSignals* signals) const {
    Print(what, after);
    const std::string digests = Joined(after);
    if (!script_.Given()) return false;
    setenv("QUORCTL_CHANGED", what.c_str(), /*replace=*/1);
    setenv("QUORCTL_DIGESTS", digests.c_str(), /*replace=*/1);
    int status = 0;
    const bool stopped = signals->WaitForChild(StartShell(script_.Value(), *signals), &status);
    if (stopped) return true;
    if (WIFSIGNALED(status)) {
      WriteErrorLine("--exec: CMD was ended by signal " + std::to_string(WTERMSIG(status)));
    } else if (WEXITSTATUS(status) != 0) {
      WriteErrorLine("--exec: CMD ended with status " + std::to_string(WEXITSTATUS(status)));
    }
    return false;
  }

  Argument period_;
  Argument script_;
  Argument format_;
  Argument from_;
  bool first_ = false;
  bool json_ = false;
  std::string fallback_;  // reported already
  std::string problem_;   // reported already; empty while the catalogue can be read
};

}  // namespace

std::unique_ptr<Command> MakeWatchCommand() {
  return std::make_unique<WatchCommand>();
}

}  // namespace Quorctl
