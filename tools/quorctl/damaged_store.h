// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A store's file that cannot be read, and that a change will replace.
#ifndef TOOLS_QUORCTL_DAMAGED_STORE_H_
#define TOOLS_QUORCTL_DAMAGED_STORE_H_

#include <string>

namespace Quorctl {

// Why the file of the store that this process uses cannot be read; empty when it can, when it is
// not there, and when this process may not.
std::string DamageOfTheStore();

// Holds the file under another name in the same directory.
class DamagedStore {
 public:
  // Moves the file of the store that this process uses; of no path nothing is moved. Raises
  // std::system_error.
  explicit DamagedStore(const std::string& path);

  // Moves it back where nothing has come in its place; false when it could not, or there is none.
  bool PutBack() noexcept;

  // A line about where it is; empty when there is none.
  std::string Text() const;

 private:
  std::string path_;
  std::string aside_;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_DAMAGED_STORE_H_
