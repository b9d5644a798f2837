// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// How a system call is made and looked at on this machine.
#ifndef TESTS_PLATFORM_FAULTS_RAW_CALL_H_
#define TESTS_PLATFORM_FAULTS_RAW_CALL_H_

#include <ucontext.h>

#include <array>

// Makes the system call; a negative errno value when it fails. Here and nowhere else is the
// instruction after which the program is at quor_raw_call_made.
extern "C" long quor_raw_call(long number, long a, long b, long c, long d, long e, long f);
extern "C" char quor_raw_call_made;

namespace PlatformTest {

#if defined(__x86_64__)

inline std::array<long, 6> ArgumentsIn(const mcontext_t& machine) {
  const auto& registers = machine.gregs;
  return {registers[REG_RDI], registers[REG_RSI], registers[REG_RDX],
          registers[REG_R10], registers[REG_R8],  registers[REG_R9]};
}

inline greg_t& ResultIn(mcontext_t& machine) {
  return machine.gregs[REG_RAX];
}

#elif defined(__aarch64__)

inline std::array<long, 6> ArgumentsIn(const mcontext_t& machine) {
  std::array<long, 6> arguments;
  for (std::size_t i = 0; i < arguments.size(); ++i)
    arguments[i] = static_cast<long>(machine.regs[i]);
  return arguments;
}

inline auto& ResultIn(mcontext_t& machine) {
  return machine.regs[0];
}

#else
#error "how are the arguments of a system call found on this machine?"
#endif

}  // namespace PlatformTest

#endif  // TESTS_PLATFORM_FAULTS_RAW_CALL_H_
