#include "catalogue/input_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "exit_status.h"

namespace Quorctl {
namespace {

constexpr std::size_t kChunk = std::size_t{1} << 16;

[[noreturn]] void RaiseUnreadable(const std::string& path, int error) {
  throw CommandError(ExitStatus::kBadInput, "cannot read " + InputName(path) + ": " +
                                                std::generic_category().message(error));
}

class OpenInput {
 public:
  explicit OpenInput(const std::string& path)
      : isStandardInput_(path == "-"),
        descriptor_(isStandardInput_ ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor_ == -1) RaiseUnreadable(path, errno);
  }
  OpenInput(const OpenInput&) = delete;
  OpenInput& operator=(const OpenInput&) = delete;
  ~OpenInput() {
    if (!isStandardInput_) close(descriptor_);
  }

  int descriptor() const { return descriptor_; }

 private:
  bool isStandardInput_;
  int descriptor_;
};

}  // namespace

std::string InputName(const std::string& path) {
  return path == "-" ? "standard input" : path;
}

std::string ReadInput(const std::string& path) {
  const OpenInput input(path);
  std::string text;
  char chunk[kChunk];
  for (;;) {
    const ssize_t count = read(input.descriptor(), chunk, sizeof chunk);
    if (count == 0) return text;
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) RaiseUnreadable(path, errno);
    text.append(chunk, static_cast<std::size_t>(count));
    if (text.size() > kLargestInput) {
      throw CommandError(ExitStatus::kBadInput,
                         InputName(path) + ": larger than 256 MiB, the limit for a catalogue");
    }
  }
}

}  // namespace Quorctl
