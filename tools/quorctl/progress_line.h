// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A line on the terminal that names the step in progress and its duration.
#ifndef TOOLS_QUORCTL_PROGRESS_LINE_H_
#define TOOLS_QUORCTL_PROGRESS_LINE_H_

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace Quorctl {

// Shown on standard error from one second after the construction on, where that is a terminal;
// erased at the end. What is under way is a call of the library, which reports nothing by itself:
// the line tells which step it is and for how long it has been going on; to begin the step that is
// under way changes nothing. A terminal that takes no
// output holds up the line, not the steps. Without a thread to be had there is no line.
class ProgressLine {
 public:
  ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;
  ~ProgressLine();

  // The step that begins now, as "replacing 16 policies".
  void Begin(const std::string& step);

  // Erases the line until the next step begins, so that something else can be shown.
  void Hide();

 private:
  using Clock = std::chrono::steady_clock;

  void Start();
  void Run();
  void Draw();
  void Erase();

  const Clock::time_point started_ = Clock::now();
  std::mutex mutex_;  // of what follows; never held while something is written
  std::condition_variable ended_;
  bool end_ = false;
  std::string step_;  // empty: nothing to show
  Clock::time_point stepBegan_ = started_;
  std::mutex terminal_;    // of what is written; taken before the other one
  std::size_t shown_ = 0;  // columns of what stands on the terminal
  std::thread thread_;     // runs only on a terminal
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_PROGRESS_LINE_H_
