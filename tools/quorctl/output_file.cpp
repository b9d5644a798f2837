#include "output_file.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

namespace Quorctl {
namespace {

[[noreturn]] void RaiseErrno(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

struct CloseStream {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};

}  // namespace

void ReplaceFile(const std::string& path, const std::string& bytes) {
  std::unique_ptr<std::FILE, CloseStream> stream(std::fopen(path.c_str(), "wbe"));
  if (!stream) RaiseErrno("cannot write " + path);
  std::setvbuf(stream.get(), nullptr, _IONBF, 0);  // a failure shows where it happens
  if (std::fwrite(bytes.data(), 1, bytes.size(), stream.get()) != bytes.size()) {
    RaiseErrno("cannot write all of " + path);
  }
  if (std::fclose(stream.release()) != 0) RaiseErrno("cannot write all of " + path);
}

}  // namespace Quorctl
