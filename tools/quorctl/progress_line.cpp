#include "progress_line.h"

#include <unistd.h>

#include "standard_streams.h"
#include "text/display_width.h"

namespace Quorctl {
namespace {

constexpr auto kPatience = std::chrono::seconds(1);
constexpr auto kPause = std::chrono::milliseconds(200);

}  // namespace

ProgressLine::ProgressLine() {
  if (isatty(STDERR_FILENO) == 1) thread_ = std::thread([this] { Run(); });
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
  step_ = step;
}

void ProgressLine::Hide() {
  const std::lock_guard<std::mutex> guard(mutex_);
  step_.clear();
  Erase();
}

void ProgressLine::Run() {
  std::unique_lock<std::mutex> lock(mutex_);
  ended_.wait_until(lock, started_ + kPatience, [this] { return end_; });
  while (!end_) {
    if (!step_.empty()) Draw();
    ended_.wait_for(lock, kPause, [this] { return end_; });
  }
}

void ProgressLine::Draw() {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - started_);
  const std::string line = step_ + " ... " + std::to_string(seconds.count()) + " s";
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
