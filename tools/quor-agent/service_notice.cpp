// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "service_notice.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace QuorAgent {
namespace {

std::optional<std::chrono::microseconds> WatchdogTime() {
  const char* const text = secure_getenv("WATCHDOG_USEC");
  if (text == nullptr) return std::nullopt;
  const char* const process = secure_getenv("WATCHDOG_PID");
  if (process != nullptr && process != std::to_string(getpid())) return std::nullopt;
  std::int64_t count = 0;
  const auto [end, error] = std::from_chars(text, text + std::strlen(text), count);
  if (error != std::errc() || *end != '\0' || count <= 0) return std::nullopt;
  return std::chrono::microseconds(count);
}

}  // namespace

ServiceNotice::ServiceNotice() {
  const char* const socket = secure_getenv("NOTIFY_SOCKET");
  if (socket == nullptr || *socket == '\0') return;
  socket_ = socket;
  const auto watchdog = WatchdogTime();
  if (watchdog) alivePeriod_ = std::chrono::duration_cast<std::chrono::milliseconds>(*watchdog) / 4;
}

void ServiceNotice::Ready(const std::string& status) {
  if (ready_) return Status(status);
  ready_ = true;
  status_ = status;
  Send("READY=1\nSTATUS=" + status);
}

void ServiceNotice::Status(const std::string& status) {
  if (!ready_ || status == status_) return;
  status_ = status;
  Send("STATUS=" + status);
}

void ServiceNotice::Stopping() {
  Send("STOPPING=1");
}

void ServiceNotice::Alive() {
  const auto now = std::chrono::steady_clock::now();
  if (!alivePeriod_ || now - lastAlive_ < *alivePeriod_) return;
  lastAlive_ = now;
  Send("WATCHDOG=1");
}

void ServiceNotice::Send(const std::string& message) const {
  sockaddr_un address = {};
  if (socket_.empty() || socket_.size() >= sizeof(address.sun_path)) return;
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, socket_.data(), socket_.size());
  if (socket_.front() == '@') address.sun_path[0] = '\0';  // an abstract name
  const int file = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (file == -1) return;
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + socket_.size());
  sendto(file, message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
         reinterpret_cast<const sockaddr*>(&address), size);
  close(file);
}

}  // namespace QuorAgent
