// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "option_values.h"

#include <charconv>

#include "catalogue/text/terminal_text.h"
#include "exit_status.h"

namespace Quorctl {

bool IsJson(const Argument& format) {
  if (!format.Given() || format.Value() == "table") return false;
  if (format.Value() == "json") return true;
  throw UsageError("unknown format " + Quoted(format.Value()) + "; choose table or json");
}

Digests DigestsIn(const Argument& argument, const std::string& option) {
  const std::string& text = argument.Value();
  const std::size_t colon = text.find(':');
  if (colon == text.npos) {
    throw UsageError(option + " needs the two digests with a colon between them");
  }
  return {text.substr(0, colon), text.substr(colon + 1)};
}

std::uint64_t NumberIn(const std::string& word, const std::string& what) {
  std::uint64_t number = 0;
  const char* const end = word.data() + word.size();
  const auto [stopped, error] = std::from_chars(word.data(), end, number);
  if (error == std::errc() && stopped == end) return number;
  throw UsageError(Quoted(word) + " is no " + what);
}

}  // namespace Quorctl
