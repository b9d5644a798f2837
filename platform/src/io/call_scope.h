// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// One call of the host's program, from its entry into the platform to its return.
#ifndef PLATFORM_SRC_IO_CALL_SCOPE_H_
#define PLATFORM_SRC_IO_CALL_SCOPE_H_

#include <pthread.h>

#include "io/error.h"

namespace HostPlatform::Io {

// errno is afterwards what it was before, and the thread is not cancelled within: close() and
// other calls are cancellation points, and a cancellation that unwinds a destructor ends the
// process. It takes effect at the host's own next cancellation point.
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

#endif  // PLATFORM_SRC_IO_CALL_SCOPE_H_
