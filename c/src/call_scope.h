// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What a call leaves as it was in the calling thread.
#ifndef C_SRC_CALL_SCOPE_H_
#define C_SRC_CALL_SCOPE_H_

#include <pthread.h>

#include <cerrno>

namespace QuorC {

// errno is afterwards what it was before, and the thread is not cancelled within: read(), open()
// and close() are cancellation points, and a cancellation is an exception that no call lets out. It
// takes effect at the host's own next cancellation point.
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
