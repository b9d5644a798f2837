// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "os/host_paths.h"

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

#include <charconv>

#include "errors/error.h"
#include "os/file_lock.h"
#include "platform/admin.h"

namespace HostPlatform {
namespace Io {
namespace {

// Room for a name after the longest directory, so that the system refuses a path that is too long,
// instead of a truncated one.
constexpr std::size_t kRoom = PATH_MAX + 64;

constinit char hostDirectory[kRoom] = {};
constinit char configStore[kRoom + 32] = {};
constinit char configStoreLock[kRoom + 32] = {};
constinit char changeNotice[kRoom + 32] = {};
constinit char configFile[kRoom + 32] = {};
constinit char configFileLock[kRoom + 32] = {};
constinit char features[kRoom + 32] = {};

void SetPaths(const char* directory) {
  // Made absolute now, since the process may call chdir() later.
  char here[PATH_MAX] = "";
  const bool relative = directory[0] != '/' && getcwd(here, sizeof here) != nullptr;
  std::snprintf(hostDirectory, sizeof hostDirectory, "%s%s%s", here, relative ? "/" : "",
                directory);
  std::snprintf(configStore, sizeof configStore, "%s/%s", hostDirectory, kConfigStoreName);
  std::snprintf(configStoreLock, sizeof configStoreLock, "%s/%s", hostDirectory,
                kConfigStoreLockName);
  std::snprintf(changeNotice, sizeof changeNotice, "%s/%s", hostDirectory, kChangeNoticeName);
  std::snprintf(configFile, sizeof configFile, "%s/%s", hostDirectory, kConfigFileName);
  std::snprintf(configFileLock, sizeof configFileLock, "%s/%s", hostDirectory, kConfigFileLockName);
  std::snprintf(features, sizeof features, "%s/%s", hostDirectory, kFeaturesName);
}

void ReadLockTimeout() {
  const char* const text = secure_getenv("QUOR_LOCK_TIMEOUT_MS");
  if (text == nullptr) return;
  std::uint32_t milliseconds = 0;
  const char* const end = text + std::strlen(text);
  const auto [stopped, error] = std::from_chars(text, end, milliseconds);
  if (error == std::errc() && stopped == end) UseLockTimeout(milliseconds);
}

}  // namespace

void ReadEnvironment() {
  const ErrnoKeeper keeper;
  const char* const directory = secure_getenv("QUOR_HOST_DIR");
  SetPaths(directory != nullptr && directory[0] != '\0' ? directory : kDefaultHostDirectory);
  ReadLockTimeout();
}

const char* HostDirectoryPath() {
  return hostDirectory;
}
const char* ConfigStorePath() {
  return configStore;
}
const char* ConfigStoreLockPath() {
  return configStoreLock;
}
const char* ChangeNoticePath() {
  return changeNotice;
}
const char* ConfigFilePath() {
  return configFile;
}
const char* ConfigFileLockPath() {
  return configFileLock;
}
const char* FeaturesPath() {
  return features;
}

void SetHostDirectory(const std::string& path) {
  SetPaths(path.c_str());
}

}  // namespace Io

std::string HostDirectory() {
  return Io::HostDirectoryPath();
}

}  // namespace HostPlatform
