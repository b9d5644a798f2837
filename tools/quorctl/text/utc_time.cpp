// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "text/utc_time.h"

#include <cstdio>
#include <ctime>

namespace Quorctl {
namespace {

// A time that the calendar cannot express stands as its number.
std::string Formatted(std::int64_t secondsSinceEpoch, const char* format) {
  const std::time_t seconds = secondsSinceEpoch;
  std::tm parts = {};
  char text[64] = {};
  if (!gmtime_r(&seconds, &parts)) return std::to_string(secondsSinceEpoch) + " s since 1970";
  const std::size_t length = std::strftime(text, sizeof text, format, &parts);
  return std::string(text, length);
}

}  // namespace

std::string UtcTime(std::int64_t secondsSinceEpoch) {
  return Formatted(secondsSinceEpoch, "%Y-%m-%d %H:%M:%S UTC");
}

std::string CompactUtcTime(std::int64_t secondsSinceEpoch) {
  return Formatted(secondsSinceEpoch, "%Y%m%dT%H%M%SZ");
}

std::optional<std::string> ExtendedUtcTime(const std::string& compact) {
  static const std::string shape =
      "dddddddd"
      "T"
      "dddddd"
      "Z";
  if (compact.size() != shape.size()) return std::nullopt;
  for (std::size_t i = 0; i < shape.size(); ++i) {
    const bool isDigit = compact[i] >= '0' && compact[i] <= '9';
    if (shape[i] == 'd' ? !isDigit : compact[i] != shape[i]) return std::nullopt;
  }
  return compact.substr(0, 4) + '-' + compact.substr(4, 2) + '-' + compact.substr(6, 5) + ':' +
         compact.substr(11, 2) + ':' + compact.substr(13);
}

}  // namespace Quorctl
