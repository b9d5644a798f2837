// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What the configuration store raises.
#ifndef TAVCONFIGSTORE_EXCEPTION_H_
#define TAVCONFIGSTORE_EXCEPTION_H_

#include <cstdint>
#include <string>

#include "brisk/exception.h"

namespace TavConfigStore {

// Why an operation failed. The numbers are stable; new ones are added at the end.
enum CSErrorCodes : std::int32_t {
  kBusy = 1,              // the writers' lock was not free within the deadline
  kCorrupt = 2,           // a stored file or record is damaged; it was not changed
  kNoSpace = 3,           // the disk, a quota or the format's 4 GiB is full
  kPermissionDenied = 4,  // the process may not read or may not write
  kIoError = 5,           // the system refused an operation for another reason
  kWrongType = 6,         // a value is of another type than asked for
  kUsage = 7,             // a call out of order or with arguments that mean nothing
  kUnsupported = 8,       // written by a newer version in a format that this one cannot read
  kInsecure = 9,          // a file or directory could have been planted by another user
};

// The message names the file, the reason and what to do.
class PLATFORM_API ConfigStoreException : public Brisk::Lib::BriskException {
 public:
  // With a message for a person, and the reason for a program.
  ConfigStoreException(std::string message, CSErrorCodes code);
  ConfigStoreException(const ConfigStoreException&) = default;
  ConfigStoreException& operator=(const ConfigStoreException&) = default;
  ~ConfigStoreException() override;

  // Why the operation failed.
  CSErrorCodes code() const noexcept { return code_; }

 private:
  CSErrorCodes code_;
};

}  // namespace TavConfigStore

#endif  // TAVCONFIGSTORE_EXCEPTION_H_
