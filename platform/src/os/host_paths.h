// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The host directory of this process and its files.
//
//   config-store.cdb        newest snapshot of the configuration store
//   config-store.lock       lock of the store's writers
//   .config-store.changing  exists while a commit is under way
//   host-config.json        the configuration file
//   host-config.lock        lock of the configuration file
//   features                one byte per feature switch
#ifndef PLATFORM_SRC_OS_HOST_PATHS_H_
#define PLATFORM_SRC_OS_HOST_PATHS_H_

#include <string>

namespace HostPlatform::Io {

inline constexpr char kDefaultHostDirectory[] = "/var/lib/quor";
inline constexpr char kConfigStoreName[] = "config-store.cdb";
inline constexpr char kConfigStoreLockName[] = "config-store.lock";
inline constexpr char kChangeNoticeName[] = ".config-store.changing";
inline constexpr char kConfigFileName[] = "host-config.json";
inline constexpr char kConfigFileLockName[] = "host-config.lock";
inline constexpr char kFeaturesName[] = "features";

// Absolute paths. Never destroyed: threads may still read them while the program exits.
const char* HostDirectoryPath();
const char* ConfigStorePath();
const char* ConfigStoreLockPath();
const char* ChangeNoticePath();
const char* ConfigFilePath();
const char* ConfigFileLockPath();
const char* FeaturesPath();

// Reads the directory and the lock's deadline from the environment. Called once, at load time,
// since other threads may change the environment later.
void ReadEnvironment();

// Must not be called while another thread reads the paths.
void SetHostDirectory(const std::string& path);

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_OS_HOST_PATHS_H_
