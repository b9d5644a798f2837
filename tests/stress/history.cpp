// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "history.h"

#include <algorithm>
#include <array>

namespace StressTest {
namespace {

std::string NameOf(const Operation& operation) {
  constexpr std::array<const char*, 10> kNames = {"replace policies by",
                                                  "replace datastores by",
                                                  "reset",
                                                  "list policies",
                                                  "list datastores",
                                                  "blob by id",
                                                  "blob by name",
                                                  "default blob",
                                                  "blob for datastore",
                                                  "digests"};
  std::string name = kNames.at(static_cast<std::size_t>(operation.call));
  if (operation.call <= Call::kReplaceDatastores) return name + ' ' + std::to_string(operation.set);
  if (operation.call >= Call::kRilkBlobById && operation.call <= Call::kBlobById) {
    name += " of policy " + std::to_string(operation.policy) + ", datastore " +
            std::to_string(operation.datastore);
  }
  return name;
}

std::string ResultOf(const Operation& operation) {
  switch (operation.ending) {
    case Ending::kBusy:
      return "busy";
    case Ending::kNever:
      return "did not end";
    case Ending::kReturned:
      break;
  }
  if (operation.call <= Call::kReset) return "done";
  std::string result = std::to_string(operation.answer);
  if (operation.call == Call::kDigests) result += " and " + std::to_string(operation.secondAnswer);
  return result;
}

}  // namespace

std::string TextOf(History history) {
  std::sort(history.begin(), history.end(),
            [](const Operation& a, const Operation& b) { return a.start < b.start; });
  std::string text;
  for (const Operation& operation : history) {
    const std::string end = operation.end == kNever ? "-" : std::to_string(operation.end);
    text += "  process " + std::to_string(operation.process) + ", " +
            std::to_string(operation.start) + " to " + end + ": " + NameOf(operation) + ": " +
            ResultOf(operation) + '\n';
  }
  return text;
}

}  // namespace StressTest
