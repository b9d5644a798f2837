#include "brisk/format.h"

#include <cstdarg>
#include <cstdio>
#include <stdexcept>

namespace Brisk::Misc {
namespace {

constexpr std::size_t kMostFit = 512;  // larger texts are formatted twice

// One va_list is good for one pass; va_end() must run also when a string cannot be allocated.
class ArgumentList {
 public:
  explicit ArgumentList(va_list arguments) { va_copy(arguments_, arguments); }
  ArgumentList(const ArgumentList&) = delete;
  ArgumentList& operator=(const ArgumentList&) = delete;
  ~ArgumentList() { va_end(arguments_); }

  int Print(char* buffer, std::size_t size, const char* format) {
    return std::vsnprintf(buffer, size, format, arguments_);
  }

 private:
  va_list arguments_;
};

std::string PrintToString(const char* format, va_list arguments) {
  char small[kMostFit];
  const int length = ArgumentList(arguments).Print(small, sizeof small, format);
  if (length < 0) throw std::invalid_argument(std::string("bad format: ") + format);
  const auto size = static_cast<std::size_t>(length);
  if (size < sizeof small) return std::string(small, size);
  std::string text(size, '\0');
  ArgumentList(arguments).Print(text.data(), text.size() + 1, format);
  return text;
}

}  // namespace

std::string StrPrintf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  try {
    std::string text = PrintToString(format, arguments);
    va_end(arguments);
    return text;
  } catch (...) {
    va_end(arguments);
    throw;
  }
}

std::string StrCat(const Detail::StrBuf& first, const Detail::StrBuf& second,
                   const Detail::StrBuf& third) {
  std::string text;
  text.reserve(first.size + second.size + third.size);
  text.append(first.data, first.size);
  text.append(second.data, second.size);
  text.append(third.data, third.size);
  return text;
}

}  // namespace Brisk::Misc
