// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A small program that tests start: tells what it sees of itself and of the platform.
//
//   probe descriptors     a line for each open descriptor: its number and what it is
//   probe environment     the host directory and the lock's deadline, a line each
#include <dirent.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/admin.h"

namespace {

void PrintDescriptors() {
  DIR* const directory = opendir("/proc/self/fd");
  while (const dirent* entry = readdir(directory)) {
    const int number = std::atoi(entry->d_name);
    if (entry->d_name[0] == '.' || number == dirfd(directory)) continue;
    char target[PATH_MAX] = {};
    const std::string link = std::string("/proc/self/fd/") + entry->d_name;
    if (readlink(link.c_str(), target, sizeof target - 1) < 0) std::exit(EXIT_FAILURE);
    std::printf("%d %s\n", number, target);
  }
  closedir(directory);
}

void PrintEnvironment() {
  std::printf("%s\n%u\n", HostPlatform::HostDirectory().c_str(), HostPlatform::LockTimeout());
}

}  // namespace

int main(int count, char** arguments) {
  if (count == 2 && std::strcmp(arguments[1], "descriptors") == 0) {
    PrintDescriptors();
  } else if (count == 2 && std::strcmp(arguments[1], "environment") == 0) {
    PrintEnvironment();
  } else {
    return EXIT_FAILURE;
  }
  std::fflush(nullptr);
  _exit(EXIT_SUCCESS);  // a leak checker at exit() cannot look into a set-uid program
}
