// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A file that an operator names for the result.
#ifndef TOOLS_QUORCTL_OUTPUT_FILE_H_
#define TOOLS_QUORCTL_OUTPUT_FILE_H_

#include <string>

namespace Quorctl {

// Makes the bytes the contents of the file, which is created when it is missing. When they cannot
// be written, a file that is replaced stays as it is. Owner, mode and links stay as they are; a
// device or a pipe can be named too, and is written to, and so is a file that has several names or
// cannot be replaced by one of the same owner. Raises std::system_error that names the file.
void ReplaceFile(const std::string& path, const std::string& bytes);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_OUTPUT_FILE_H_
