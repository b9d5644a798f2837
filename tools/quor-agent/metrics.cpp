// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "metrics.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "catalogue/text/terminal_text.h"

namespace QuorAgent {
namespace {

constexpr mode_t kReadableByAll = 0644;

class OpenMetricsText {
 public:
  void Begin(const std::string& name, const char* type, const char* help) {
    name_ = name;
    text_ += "# TYPE " + name + ' ' + type + "\n# HELP " + name + ' ' + help + '\n';
  }
  void Add(const std::string& value, const std::string& label = "", const std::string& of = "") {
    text_ += name_ + suffix_ + (label.empty() ? "" : '{' + label + "=\"" + of + "\"}") + ' ' +
             value + '\n';
  }
  void Gauge(const char* name, const char* help, const std::optional<std::int64_t>& value) {
    if (!value) return;
    Begin(name, "gauge", help);
    Add(std::to_string(*value));
  }
  void Counter(const char* name, const char* help, std::int64_t value) {
    Begin(name, "counter", help);
    suffix_ = "_total";
    Add(std::to_string(value));
    suffix_.clear();
  }
  void Counters(const char* name, const char* help, const char* label,
                const std::map<std::string, std::int64_t>& values) {
    Begin(name, "counter", help);
    suffix_ = "_total";
    for (const auto& [of, value] : values)
      Add(std::to_string(value), label, of);
    suffix_.clear();
  }
  std::string Text() const { return text_ + "# EOF\n"; }

 private:
  std::string text_;
  std::string name_;
  std::string suffix_;
};

}  // namespace

std::string AsOpenMetrics(const Metrics& metrics) {
  OpenMetricsText text;
  text.Begin("quor_agent_version", "gauge", "Always 1; the version is its label.");
  text.Add("1", "version", QUOR_AGENT_VERSION);
  text.Begin("quor_agent_state", "gauge", "1 for the state that the host is in.");
  for (const char* const name : kStateNames)
    text.Add(name == NameOf(metrics.state) ? "1" : "0", "state", name);
  text.Gauge("quor_agent_offered_release", "Release that the host's channel has.", metrics.offered);
  text.Gauge("quor_agent_wanted_release", "Release that the host is to hold.", metrics.wanted);
  text.Gauge("quor_agent_applied_release", "Release that the host was last made equal to.",
             metrics.applied);
  text.Gauge("quor_agent_last_contact_timestamp_seconds", "When the centre last answered.",
             metrics.lastContact);
  text.Gauge("quor_agent_channel_paused", "1 while the host's channel is paused.",
             metrics.paused ? 1 : 0);
  if (metrics.applySeconds) {
    char seconds[32];
    std::snprintf(seconds, sizeof(seconds), "%.6f", *metrics.applySeconds);
    text.Begin("quor_agent_last_change_seconds", "gauge", "How long the last change took.");
    text.Add(seconds);
  }
  text.Counters("quor_agent_refusals", "Releases refused, by reason.", "reason", metrics.refusals);
  text.Counter("quor_agent_contact_failures", "Cycles in which the centre could not be asked.",
               metrics.contactFailures);
  text.Counter("quor_agent_changes", "Changes that wrote to the host.", metrics.changes);
  text.Counter("quor_agent_change_failures", "Changes that failed.", metrics.changeFailures);
  text.Counter("quor_agent_drifts", "How often the host was found changed by others.",
               metrics.drifts);
  return text.Text();
}

void ReplaceMetricsFile(const std::string& path, const std::string& text) {
  const std::string next = path + ".new";
  const int file =
      open(next.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, kReadableByAll);
  errno = file == -1 ? errno : ENOSPC;  // what a write that was cut short means
  bool done = file != -1 && fchmod(file, kReadableByAll) == 0 &&
              write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  const int error = errno;
  if (file != -1) close(file);
  errno = error;
  done = done && rename(next.c_str(), path.c_str()) == 0;
  if (done) return;
  throw std::system_error(errno, std::generic_category(),
                          Quorctl::EscapeForTerminal(path) + ": the metrics cannot be written");
}

}  // namespace QuorAgent
