// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Base64 between C++ strings.
#ifndef TOOLS_CATALOGUE_TEXT_BASE64_TEXT_H_
#define TOOLS_CATALOGUE_TEXT_BASE64_TEXT_H_

#include <optional>
#include <string>

namespace Quorctl {

std::string EncodeBase64(const std::string& bytes);

// Nothing when the text is not valid Base64.
std::optional<std::string> DecodeBase64(const std::string& text);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_TEXT_BASE64_TEXT_H_
