// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The base of every exception that a host service raises.
#ifndef BRISK_EXCEPTION_H_
#define BRISK_EXCEPTION_H_

#include <exception>
#include <memory>
#include <string>

#include "platform/export.h"

namespace Brisk {
namespace Lib {

// A message for a person, and an attachment that a service may add for its callers. Copies share
// the attachment.
class PLATFORM_API BriskException : public std::exception {
 public:
  // Without an attachment.
  explicit BriskException(std::string message);
  BriskException(const BriskException&) = default;
  BriskException& operator=(const BriskException&) = default;
  ~BriskException() override;

  // The message's characters; valid as long as the exception.
  const char* what() const noexcept override;

  // The attachment; null when there is none. What it is, the service says that added it.
  const std::shared_ptr<const void>& attachment() const { return attachment_; }
  void set_attachment(std::shared_ptr<const void> attachment);

 private:
  std::string message_;
  std::shared_ptr<const void> attachment_;
};

}  // namespace Lib
}  // namespace Brisk

#endif  // BRISK_EXCEPTION_H_
