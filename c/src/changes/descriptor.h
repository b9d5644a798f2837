// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// RAII holder of a descriptor.
#ifndef C_SRC_CHANGES_DESCRIPTOR_H_
#define C_SRC_CHANGES_DESCRIPTOR_H_

#include <unistd.h>

#include <utility>

namespace QuorC {

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }

  int get() const { return number_; }
  explicit operator bool() const { return number_ >= 0; }

 private:
  int number_ = -1;
};

}  // namespace QuorC

#endif  // C_SRC_CHANGES_DESCRIPTOR_H_
