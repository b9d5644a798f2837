// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Which host directory this process uses, and the names in it.
//
//   config-store.cdb    the newest snapshot of the configuration store
//   config-store.lock   its writers' lock
//   .config-store.changing  is there while a commit is under way
//   host-config.json    the configuration file
//   host-config.lock    its lock
//   features            one byte per feature switch
#ifndef PLATFORM_SRC_IO_HOST_PATHS_H_
#define PLATFORM_SRC_IO_HOST_PATHS_H_

#include <string>

namespace HostPlatform::Io {

inline constexpr char kDefaultHostDirectory[] = "/var/lib/quor";
inline constexpr char kConfigStoreName[] = "config-store.cdb";
inline constexpr char kConfigStoreLockName[] = "config-store.lock";
inline constexpr char kChangeNoticeName[] = ".config-store.changing";
inline constexpr char kConfigFileName[] = "host-config.json";
inline constexpr char kConfigFileLockName[] = "host-config.lock";
inline constexpr char kFeaturesName[] = "features";

// Absolute paths, valid for the life of the process: they are read by threads that may still run
// while the program ends, so nothing here is ever destroyed.
const char* HostDirectoryPath();
const char* ConfigStorePath();
const char* ConfigStoreLockPath();
const char* ChangeNoticePath();
const char* ConfigFilePath();
const char* ConfigFileLockPath();
const char* FeaturesPath();

// Takes the directory and the lock's deadline from the environment. Called once, when the platform
// is loaded: a program may change its environment later, from other threads even.
void ReadEnvironment();

// Not to be called while another thread reads the paths.
void SetHostDirectory(const std::string& path);

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_IO_HOST_PATHS_H_
