// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// How quorctl writes YAML.
#ifndef TOOLS_QUORCTL_TEXT_YAML_TEXT_H_
#define TOOLS_QUORCTL_TEXT_YAML_TEXT_H_

#include <nlohmann/json.hpp>
#include <string>

namespace Quorctl {

// An object or array as a YAML document that is safe to show on a terminal. Every string that a
// reader of YAML 1.1 or 1.2 could take for something else stands in quotation marks; one of several
// lines stands as such where that keeps its bytes. Strings must be UTF-8, keys plain words.
std::string AsYaml(const nlohmann::ordered_json& value);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_TEXT_YAML_TEXT_H_
