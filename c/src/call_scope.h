// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Scope of one call from the host's program.
#ifndef C_SRC_CALL_SCOPE_H_
#define C_SRC_CALL_SCOPE_H_

#include <pthread.h>

#include <cerrno>

namespace QuorC {

// Preserves errno and defers cancellation of the thread to the host's next cancellation point.
// read(), open() and close() are cancellation points, and a cancellation is an exception, which
// must not leave a C function.
class CallScope {
 public:
  CallScope() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState_); }
  CallScope(const CallScope&) = delete;
  CallScope& operator=(const CallScope&) = delete;
  ~CallScope() {
    pthread_setcancelstate(cancelState_, nullptr);
    errno = error_;
  }

 private:
  int error_ = errno;
  int cancelState_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace QuorC

#endif  // C_SRC_CALL_SCOPE_H_
