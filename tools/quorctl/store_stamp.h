// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Tells whether a store is unchanged since it was read, without reading it again.
#ifndef TOOLS_QUORCTL_STORE_STAMP_H_
#define TOOLS_QUORCTL_STORE_STAMP_H_

#include <sys/stat.h>

#include <memory>
#include <string>

namespace Quorctl {

// The file of one of the host's two stores at one moment. Each commit puts another file in its
// place; this one is held, so that no other file gets its number.
class StoreStamp {
 public:
  // Of the store that this process uses.
  static StoreStamp Take();

  // Nothing was committed since, nor written by hand.
  bool IsCurrent() const;

  bool exists() const { return status_.st_nlink > 0; }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
  struct stat status_ = {};
  std::shared_ptr<const void> held_;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_STORE_STAMP_H_
