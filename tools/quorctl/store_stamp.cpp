// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "store_stamp.h"

#include <fcntl.h>
#include <unistd.h>

#include <tuple>

#include "host_backend.h"

namespace Quorctl {
namespace {

auto Identity(const struct stat& status) {
  return std::make_tuple(status.st_nlink > 0, status.st_dev, status.st_ino, status.st_size,
                         status.st_mtim.tv_sec, status.st_mtim.tv_nsec, status.st_ctim.tv_sec,
                         status.st_ctim.tv_nsec);
}

class HeldFile {
 public:
  explicit HeldFile(int descriptor) : descriptor_(descriptor) {}
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;
  ~HeldFile() { close(descriptor_); }

 private:
  int descriptor_;
};

}  // namespace

StoreStamp StoreStamp::Take() {
  StoreStamp stamp;
  stamp.path_ = HostPlatform::HostDirectory() +
                (BackendSwitch().on ? "/config-store.cdb" : "/host-config.json");
  const int file = open(stamp.path_.c_str(), O_PATH | O_CLOEXEC);
  if (file == -1) return stamp;
  stamp.held_ = std::make_shared<HeldFile>(file);
  if (fstat(file, &stamp.status_) != 0) stamp.status_ = {};
  return stamp;
}

bool StoreStamp::IsCurrent() const {
  struct stat now = {};
  if (stat(path_.c_str(), &now) != 0) now = {};
  return Identity(now) == Identity(status_);
}

}  // namespace Quorctl
