// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Bytes made readable for a person.
#ifndef TOOLS_QUORCTL_TEXT_HEX_VIEW_H_
#define TOOLS_QUORCTL_TEXT_HEX_VIEW_H_

#include <string>
#include <string_view>

namespace Quorctl {

// Sixteen bytes on each line: the offset, the bytes in hexadecimal, and those that are printable
// ASCII as they are.
std::string HexView(std::string_view bytes);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_TEXT_HEX_VIEW_H_
