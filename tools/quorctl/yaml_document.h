// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Catalogue documents that people write by hand may be YAML.
#ifndef TOOLS_QUORCTL_YAML_DOCUMENT_H_
#define TOOLS_QUORCTL_YAML_DOCUMENT_H_

#include <string>

namespace Quorctl {

// Reads the document in the file, or on standard input for "-", and converts YAML to JSON. A file
// is YAML if its name ends in .yaml or .yml; standard input, and a file with a name other than
// *.json, if its first character cannot begin a JSON document. Raises like ReadInput(), and
// DocumentError for text that is not YAML or uses aliases or tags, which JSON does not have.
std::string ReadDocument(const std::string& path);

// Converts YAML to JSON with every value on the line where it stands in the YAML, so that errors
// name YAML's lines. Unquoted scalars are resolved by YAML 1.2's core schema; numbers are decimal.
std::string YamlAsJson(const std::string& yaml, const std::string& source);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_YAML_DOCUMENT_H_
