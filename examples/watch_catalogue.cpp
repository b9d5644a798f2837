// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Says when the catalogue changes, and what of it.
//
//   watch_catalogue                  looks once a second, for ever
//   watch_catalogue COUNT [PAUSE]    ends after COUNT changes; PAUSE milliseconds between two looks
//
// The digests tell that something changed; what it is, a program finds by listing. A process that
// only reads never delays a writer, however often it looks.
#include <quor/quor_lib.h>

#include <chrono>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <thread>
#include <utility>

using TavQuor::QuorLib;

namespace {

using Digests = std::pair<std::string, std::string>;

void PrintDigest(const char* kind, const std::string& digest) {
  std::cout << kind << ' ' << (digest.empty() ? "none" : digest) << std::endl;
}

// Prints what differs from `known`; returns whether anything does.
bool PrintChanges(const Digests& known, const Digests& present) {
  if (present.first != known.first) PrintDigest("policies", present.first);
  if (present.second != known.second) PrintDigest("datastores", present.second);
  return present != known;
}

void Watch(long changes, std::chrono::milliseconds pause) {
  Digests known = QuorLib::GetDbHash();
  PrintDigest("policies", known.first);
  PrintDigest("datastores", known.second);
  for (long seen = 0; changes == 0 || seen < changes;) {
    std::this_thread::sleep_for(pause);
    const Digests present = QuorLib::GetDbHash();
    if (PrintChanges(known, present)) ++seen;
    known = present;
  }
}

}  // namespace

int main(int argc, char** argv) {
  const long changes = argc > 1 ? std::atol(argv[1]) : 0;
  const long pause = argc > 2 ? std::atol(argv[2]) : 1000;
  if (argc > 3 || changes < 0 || pause < 1) {
    std::cerr << "usage: watch_catalogue [COUNT [PAUSE]]\n";
    return 2;
  }
  try {
    Watch(changes, std::chrono::milliseconds(pause));
  } catch (const std::exception& error) {
    std::cerr << "watch_catalogue: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
