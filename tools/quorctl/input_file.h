// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The bytes of an input document.
#ifndef TOOLS_QUORCTL_INPUT_FILE_H_
#define TOOLS_QUORCTL_INPUT_FILE_H_

#include <cstddef>
#include <string>

namespace Quorctl {

inline constexpr std::size_t kLargestInput = std::size_t{256} << 20;

// The input's name in messages: the path, or "standard input" for "-".
std::string InputName(const std::string& path);

// All bytes of the file, or of standard input for "-". Raises CommandError (bad input) when it
// cannot be read or is larger than kLargestInput.
std::string ReadInput(const std::string& path);

// Likewise for a file of the host: only a regular file is read, and failures count as failures of
// the store or of permission.
std::string ReadKeptFile(const std::string& path);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_INPUT_FILE_H_
