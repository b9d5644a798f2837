// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "failure_kind.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <typeinfo>

namespace QuorC {
namespace {

struct Reason {
  std::string_view text;
  quor_status kind;
};

// Searched after the name of the file; the first match counts.
constexpr Reason kReasons[] = {
    {"still locked after ", QUOR_BUSY},
    {"since the lock file was removed", QUOR_BUSY},
    {"somebody removed or replaced the lock file", QUOR_BUSY},
    {"its lock file was removed", QUOR_BUSY},
    {"could have been planted", QUOR_PERMISSION},
    {"not a plain lock file of the host directory's owner", QUOR_PERMISSION},
    {"it is a symbolic link, which is not followed here", QUOR_PERMISSION},
    {"belongs to another user, who alone may write to it", QUOR_PERMISSION},
    {"have been planted", QUOR_PERMISSION},
    {"damaged: ", QUOR_CORRUPT},
    {"Correct it", QUOR_CORRUPT},
    {"it is not a plain file", QUOR_CORRUPT},
    {"Unable to Decode string", QUOR_CORRUPT},
    {"does not fit the store's 4 GiB", QUOR_NO_SPACE},
    {"holds no value of 4 GiB", QUOR_NO_SPACE},
    {"(RLIMIT_FSIZE)", QUOR_NO_SPACE},
    {"Unable to Encode string", QUOR_NO_MEMORY},
};

// The system's text for an errno value, in the language of the process.
struct SystemReason {
  int error;
  quor_status kind;
};
constexpr SystemReason kSystemReasons[] = {
    {EACCES, QUOR_PERMISSION}, {EPERM, QUOR_PERMISSION}, {EROFS, QUOR_PERMISSION},
    {ENOSPC, QUOR_NO_SPACE},   {EDQUOT, QUOR_NO_SPACE},  {EFBIG, QUOR_NO_SPACE},
};

// A value of another type than the library's: "value "policy_id" is not a string".
bool IsWrongType(std::string_view message) {
  return message.starts_with("value \"") && message.find("\" is not a") != message.npos;
}

bool IsOfStore(const std::exception& failure) {
  return std::string_view(typeid(failure).name()) == "N14TavConfigStore20ConfigStoreExceptionE";
}

// The file's name ends at ": ", or at the line and column of a text that does not parse.
std::string_view FileOf(std::string_view message) {
  if (!message.starts_with('/')) return {};
  std::string_view file = message.substr(0, std::min(message.find(": "), message.size()));
  for (int number = 0; number < 2; ++number) {
    const std::size_t digits = file.find_last_not_of("0123456789");
    if (digits == file.npos || digits + 1 == file.size() || file[digits] != ':') break;
    file = file.substr(0, digits);
  }
  return file;
}

}  // namespace

FailureKind KindOf(const std::exception& failure) {
  const std::string_view message = failure.what();
  const std::string_view file = FileOf(message);
  const std::string_view rest = message.substr(file.size());
  FailureKind found = {IsOfStore(failure) ? QUOR_STORE : QUOR_FILE, std::string(file)};
  for (const Reason& reason : kReasons) {
    if (rest.find(reason.text) == rest.npos) continue;
    found.kind = reason.kind;
    return found;
  }
  if (IsWrongType(message)) found.kind = QUOR_CORRUPT;
  for (const SystemReason& reason : kSystemReasons) {
    const std::string text = ": " + std::generic_category().message(reason.error);
    if (rest.find(text) != rest.npos) found.kind = reason.kind;
  }
  return found;
}

}  // namespace QuorC
