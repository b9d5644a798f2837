// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The two files of the state directory, as values and as text.
#ifndef TOOLS_QUOR_AGENT_KEPT_RELEASE_H_
#define TOOLS_QUOR_AGENT_KEPT_RELEASE_H_

#include <cstdint>
#include <stdexcept>
#include <string>

#include "catalogue/digests.h"

namespace QuorAgent {

struct ReleaseName {
  std::int64_t id = 0;
  std::string sha256;     // of the document, 64 lower-case hexadecimal digits
  bool fromFile = false;  // an operator gave it by --from; the centre may know this id by another

  bool operator==(const ReleaseName&) const = default;
};

// What the host is to hold.
struct Wanted {
  ReleaseName release;
  std::string document;
};

// The release that the host held when it was last made equal, with the digests that the library
// computed there: for generations beyond 32 bits they depend on the store.
struct Applied {
  ReleaseName release;
  Quorctl::Digests digests;
};

// "PATH: reason".
class BadKeptFile : public std::runtime_error {
  using runtime_error::runtime_error;
};

std::string AsText(const Wanted& wanted);
std::string AsText(const Applied& applied);

// Raise BadKeptFile for text that AsText() did not write, and for a document with another SHA-256.
Wanted ParseWanted(const std::string& text, const std::string& path);
Applied ParseApplied(const std::string& text, const std::string& path);

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_KEPT_RELEASE_H_
