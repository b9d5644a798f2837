// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <sys/stat.h>

#include <cstdio>
#include <string>
#include <system_error>

#include "check/host_files.h"
#include "exit_status.h"
#include "history.h"
#include "platform/admin.h"

namespace Quorctl {
namespace {

std::string Octal(mode_t mode) {
  char text[16] = {};
  std::snprintf(text, sizeof text, "%04o", static_cast<unsigned>(mode & 07777));
  return text;
}

// Nothing when there is none.
bool FindStatus(const std::string& path, struct stat* status) {
  if (stat(path.c_str(), status) == 0) return true;
  if (errno == ENOENT) return false;
  throw std::system_error(errno, std::generic_category(), path + ": cannot look at it");
}

class ModeCheck {
 public:
  ModeCheck(const struct stat& directory, Findings* findings)
      : directory_(directory), findings_(findings) {}

  void Directory(const std::string& path, const struct stat& status) const {
    if (!S_ISDIR(status.st_mode)) {
      Add(Severity::kError, path, "is no directory", "move it away");
      return;
    }
    if ((status.st_mode & S_IWOTH) != 0) {
      Add(Severity::kError, path, "everybody may write to it, so its files can be planted",
          "chmod o-w it, and check what is in it");
    } else if ((status.st_mode & S_IRWXO) != 0) {
      Add(Severity::kWarning, path,
          "everybody may look into it (mode " + Octal(status.st_mode) + ")", "chmod o-rwx it");
    }
    if ((status.st_mode & S_IWGRP) != 0) {
      Add(Severity::kWarning, path, "its group may replace files in it", "chmod g-w it");
    }
    if ((status.st_mode & S_IRWXG) != 0 && (status.st_mode & S_ISGID) == 0) {
      Add(Severity::kWarning, path,
          "new files in it do not get its group, which then cannot read them", "chmod g+s it");
    }
  }

  void DataFile(const std::string& path) const {
    struct stat status;
    if (!FindStatus(path, &status)) return;
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
      Add(Severity::kError, path,
          "others than its owner may change it (mode " + Octal(status.st_mode) + ")",
          "chmod 0640 it, and check the catalogue");
    } else if ((status.st_mode & S_IRWXO) != 0) {
      Add(Severity::kWarning, path, "everybody may read it (mode " + Octal(status.st_mode) + ")",
          "chmod 0640 it");
    }
    Owner(path, status);
    const bool groupReads = (status.st_mode & S_IRGRP) != 0;
    if (!groupReads && (directory_.st_mode & S_IXGRP) != 0) {
      Add(Severity::kWarning, path,
          "the host directory's group cannot read it (mode " + Octal(status.st_mode) +
              "), so calls of its members are refused",
          "chmod 0640 it");
    }
    if (groupReads && status.st_gid != directory_.st_gid) {
      Add(Severity::kWarning, path, "it belongs to another group than the host directory",
          "chgrp it to the host directory's group");
    }
  }

  void LockFile(const std::string& path) const {
    struct stat status;
    if (!FindStatus(path, &status)) return;
    if (!S_ISREG(status.st_mode) || status.st_nlink > 1) {
      Add(Severity::kError, path, "is no plain file of one name, and so refused as a lock",
          "remove it while nobody writes");
    }
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
      Add(Severity::kWarning, path,
          "others than its owner may open it (mode " + Octal(status.st_mode) +
              ") and keep writers out",
          "chmod 0600 it");
    }
    Owner(path, status);
  }

  void Owner(const std::string& path, const struct stat& status) const {
    if (status.st_uid == directory_.st_uid || status.st_uid == 0) return;
    Add(Severity::kError, path,
        "it belongs to user " + std::to_string(status.st_uid) +
            ", who is neither the host directory's owner nor root",
        "chown it to the host directory's owner, and check what is in it");
  }

 private:
  void Add(Severity severity, const std::string& path, const std::string& problem,
           const std::string& advice) const {
    findings_->push_back({severity, path, problem, advice});
  }

  const struct stat& directory_;
  Findings* findings_;
};

}  // namespace

void CheckModesAndOwners(Findings* findings) {
  const std::string host = HostPlatform::HostDirectory();
  struct stat directory;
  if (!FindStatus(host, &directory)) {
    findings->push_back({Severity::kInfo, host, "is not there: nothing was ever stored", ""});
    return;
  }
  const ModeCheck check(directory, findings);
  check.Directory(host, directory);
  if (!S_ISDIR(directory.st_mode)) return;
  check.DataFile(HostPlatform::GetConfigStoreState().path);
  check.DataFile(HostPlatform::GetConfigFileState().path);
  check.DataFile(host + "/features");
  for (const HostPlatform::LockState& lock : HostPlatform::GetLockStates())
    check.LockFile(lock.path);
  struct stat history;
  if (!FindStatus(HistoryDirectory(), &history)) return;
  check.Directory(HistoryDirectory(), history);
  check.Owner(HistoryDirectory(), history);
  if (!S_ISDIR(history.st_mode)) return;
  for (const HistoryEntry& entry : ListHistory())
    check.DataFile(entry.path);
}

}  // namespace Quorctl
