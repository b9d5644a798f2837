// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "faults/raw_call.h"

#if defined(__x86_64__)

asm(R"(
  .text
  .globl quor_raw_call
  .hidden quor_raw_call
  .type quor_raw_call, @function
quor_raw_call:
  mov %rdi, %rax
  mov %rsi, %rdi
  mov %rdx, %rsi
  mov %rcx, %rdx
  mov %r8, %r10
  mov %r9, %r8
  mov 8(%rsp), %r9
  syscall
  .globl quor_raw_call_made
  .hidden quor_raw_call_made
quor_raw_call_made:
  ret
  .size quor_raw_call, . - quor_raw_call
)");

#elif defined(__aarch64__)

asm(R"(
  .text
  .globl quor_raw_call
  .hidden quor_raw_call
  .type quor_raw_call, %function
quor_raw_call:
  mov x8, x0
  mov x0, x1
  mov x1, x2
  mov x2, x3
  mov x3, x4
  mov x4, x5
  mov x5, x6
  svc 0
  .globl quor_raw_call_made
  .hidden quor_raw_call_made
quor_raw_call_made:
  ret
  .size quor_raw_call, . - quor_raw_call
)");

#endif
