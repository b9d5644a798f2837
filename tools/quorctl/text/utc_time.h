// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Points in time as text.
#ifndef TOOLS_QUORCTL_TEXT_UTC_TIME_H_
#define TOOLS_QUORCTL_TEXT_UTC_TIME_H_

#include <cstdint>
#include <optional>
#include <string>

namespace Quorctl {

// "2026-11-20 13:31:03 UTC"
std::string UtcTime(std::int64_t secondsSinceEpoch);

// "20261120T133103Z": the basic form of ISO 8601, which may stand in a file's name.
std::string CompactUtcTime(std::int64_t secondsSinceEpoch);

// "2026-11-20T13:31:03Z", the extended form, from the basic one; nothing when it is none.
std::optional<std::string> ExtendedUtcTime(const std::string& compact);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_TEXT_UTC_TIME_H_
