// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Page size for objects that must fill whole pages.
#ifndef PLATFORM_SRC_OS_PAGE_SIZE_H_
#define PLATFORM_SRC_OS_PAGE_SIZE_H_

#include <cstddef>

namespace HostPlatform {

#if defined(__x86_64__) || defined(__i386__)
inline constexpr std::size_t kPageSize = 4096;
#else
inline constexpr std::size_t kPageSize = 65536;  // the largest that the system may be built with
#endif

}  // namespace HostPlatform

#endif  // PLATFORM_SRC_OS_PAGE_SIZE_H_
