// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Scope of one call from the host's program into the platform.
#ifndef PLATFORM_SRC_OS_CALL_SCOPE_H_
#define PLATFORM_SRC_OS_CALL_SCOPE_H_

#include <pthread.h>

#include "errors/error.h"

namespace HostPlatform::Io {

// Preserves errno and defers cancellation of the thread to the host's next cancellation point.
// close() is a cancellation point, and a cancellation that unwinds a destructor ends the process.
class CallScope {
 public:
  CallScope() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState_); }
  CallScope(const CallScope&) = delete;
  CallScope& operator=(const CallScope&) = delete;
  ~CallScope() { pthread_setcancelstate(cancelState_, nullptr); }

 private:
  ErrnoKeeper keeper_;
  int cancelState_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_OS_CALL_SCOPE_H_
