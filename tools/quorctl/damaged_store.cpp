// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "damaged_store.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <system_error>

#include "catalogue/text/terminal_text.h"
#include "host_backend.h"
#include "text/utc_time.h"

namespace Quorctl {
namespace {

// Neither of the two names may be taken already.
int Move(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  return errno;
}

// A process that has read a store expects the file to come back when it is gone, and would refuse
// to write.
void ForgetWhatWasRead() {
  const bool used = BackendSwitch().on;
  HostPlatform::UseHostDirectory(HostPlatform::HostDirectory());
  UseBackend(used);
}

}  // namespace

std::string DamageOfTheStore() {
  const auto damageOf = [](const HostPlatform::StoredFile& file) {
    return file.exists && access(file.path.c_str(), R_OK) == 0 ? file.problem : "";
  };
  return BackendSwitch().on ? damageOf(HostPlatform::GetConfigStoreState())
                            : damageOf(HostPlatform::GetConfigFileState());
}

DamagedStore::DamagedStore(const std::string& path) {
  std::error_code unresolved;
  const std::string file = std::filesystem::canonical(path, unresolved);
  if (path.empty() || unresolved) return;
  const std::string name = file + ".damaged-" + CompactUtcTime(std::time(nullptr));
  std::string aside = name;
  int error = Move(file, aside);
  for (int turn = 2; error == EEXIST; ++turn)
    error = Move(file, aside = name + '-' + std::to_string(turn));
  if (error != 0) {
    throw std::system_error(error, std::generic_category(),
                            file + ": cannot be put aside; nothing was changed");
  }
  path_ = file;
  aside_ = aside;
  ForgetWhatWasRead();
}

bool DamagedStore::PutBack() noexcept {
  return !aside_.empty() && Move(aside_, path_) == 0;
}

std::string DamagedStore::Text() const {
  return aside_.empty() ? "" : "the damaged file is now " + EscapeForTerminal(aside_) + '\n';
}

}  // namespace Quorctl
