// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What builds with sanitizers need to run these tests; other builds never call it.
#define CALLED_BY_THE_SANITIZER extern "C" __attribute__((visibility("default")))

// An allocation that is too large fails, as it does without the sanitizer.
CALLED_BY_THE_SANITIZER const char* __asan_default_options() {  // NOLINT(bugprone-reserved-*)
  return "allocator_may_return_null=1";
}

// The same, and a race in a child process ends it, so that the test that made it fails.
CALLED_BY_THE_SANITIZER const char* __tsan_default_options() {  // NOLINT(bugprone-reserved-*)
  return "allocator_may_return_null=1:halt_on_error=1";
}
