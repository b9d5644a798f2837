// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "progress_line.h"

#include <unistd.h>

#include <exception>
#include <system_error>

#include "signal_block.h"
#include "standard_streams.h"
#include "text/display_width.h"

namespace Quorctl {
namespace {

constexpr auto kPatience = std::chrono::seconds(1);
constexpr auto kRefreshPeriod = std::chrono::milliseconds(200);

}  // namespace

ProgressLine::ProgressLine() {
  if (isatty(STDERR_FILENO) == 1) Start();
}

ProgressLine::~ProgressLine() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard<std::mutex> guard(mutex_);
    end_ = true;
  }
  ended_.notify_one();
  thread_.join();
  Erase();
}

void ProgressLine::Begin(const std::string& step) {
  const std::lock_guard<std::mutex> guard(mutex_);
  if (step == step_) return;
  step_ = step;
  stepBegan_ = Clock::now();
}

void ProgressLine::Hide() {
  Begin(std::string());
  const std::lock_guard<std::mutex> guard(terminal_);
  Erase();
}

void ProgressLine::Start() {
  const SignalBlock block;  // signals are for the thread that does the work
  try {
    thread_ = std::thread([this] { Run(); });
  } catch (const std::system_error&) {
    // The command is worth more than its line.
  }
}

void ProgressLine::Run() {
  try {
    std::unique_lock<std::mutex> lock(mutex_);
    ended_.wait_until(lock, started_ + kPatience, [this] { return end_; });
    while (!end_) {
      lock.unlock();
      Draw();
      lock.lock();
      ended_.wait_for(lock, kRefreshPeriod, [this] { return end_; });
    }
  } catch (const std::exception&) {
    // No memory for the line: there is none any more.
  }
}

void ProgressLine::Draw() {
  const std::lock_guard<std::mutex> guard(terminal_);
  std::string line;
  Clock::time_point began;
  {
    const std::lock_guard<std::mutex> guardOfStep(mutex_);
    line = step_;
    began = stepBegan_;
  }
  if (line.empty()) return;
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - began);
  line += " ... " + std::to_string(seconds.count()) + " s";
  Erase();
  WriteTerminal(line);
  shown_ = DisplayWidth(line);
}

// With spaces, which every terminal understands.
void ProgressLine::Erase() {
  if (shown_ == 0) return;
  WriteTerminal('\r' + std::string(shown_, ' ') + '\r');
  shown_ = 0;
}

}  // namespace Quorctl
