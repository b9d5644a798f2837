// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Notifies the service manager by datagrams to the socket in NOTIFY_SOCKET.
#ifndef TOOLS_QUOR_AGENT_SERVICE_NOTICE_H_
#define TOOLS_QUOR_AGENT_SERVICE_NOTICE_H_

#include <chrono>
#include <optional>
#include <string>

namespace QuorAgent {

class ServiceNotice {
 public:
  // Reads the service manager's environment; without one, all calls do nothing.
  ServiceNotice();

  void Ready(const std::string& status);   // the first call says READY=1
  void Status(const std::string& status);  // sent when ready, and another one than before
  void Stopping();
  void Alive();  // for the watchdog; sent at most once in a quarter of its time

  // The longest time between two calls of Alive(); nothing without a watchdog.
  std::optional<std::chrono::milliseconds> AlivePeriod() const { return alivePeriod_; }

 private:
  void Send(const std::string& message) const;

  std::string socket_;
  std::string status_;
  bool ready_ = false;
  std::optional<std::chrono::milliseconds> alivePeriod_;
  std::chrono::steady_clock::time_point lastAlive_;
};

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_SERVICE_NOTICE_H_
