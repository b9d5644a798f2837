// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "host_paths.h"

#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace QuorC {
namespace {

constexpr char kDefault[] = "/var/lib/quor";

constinit char hostDirectory[2 * PATH_MAX] = {};

// At load time, like the platform, which ignores later changes too.
[[gnu::constructor]] void ReadEnvironment() {
  const int before = errno;
  const char* directory = secure_getenv("QUOR_HOST_DIR");
  if (directory == nullptr || directory[0] == '\0') directory = kDefault;
  char here[PATH_MAX] = "";
  const bool relative = directory[0] != '/' && getcwd(here, sizeof here) != nullptr;
  std::snprintf(hostDirectory, sizeof hostDirectory, "%s%s%s", here, relative ? "/" : "",
                directory);
  errno = before;
}

}  // namespace

const char* NameOf(Place place) {
  constexpr std::array<const char*, kPlaces.size()> kNames = {"config-store.cdb",
                                                              "host-config.json", "features"};
  return kNames[place];
}

std::string HostDirectory() {
  return hostDirectory;
}

}  // namespace QuorC
