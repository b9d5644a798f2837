// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// How an error in an input document is reported.
#ifndef TOOLS_CATALOGUE_DOCUMENT_ERROR_H_
#define TOOLS_CATALOGUE_DOCUMENT_ERROR_H_

#include <cstddef>
#include <stdexcept>
#include <string>

namespace Quorctl {

// Paths as in policies[3].blobs[0].base64; the document itself has the empty path.
inline std::string MemberPath(const std::string& path, const std::string& key) {
  return path.empty() ? key : path + "." + key;
}
inline std::string ElementPath(const std::string& path, std::size_t index) {
  return path + "[" + std::to_string(index) + "]";
}

// "catalogue.json: policies[3].id: what is wrong".
class DocumentError : public std::runtime_error {
 public:
  DocumentError(const std::string& source, const std::string& path, const std::string& problem)
      : std::runtime_error(source + ": " + (path.empty() ? "" : path + ": ") + problem) {}
};

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_DOCUMENT_ERROR_H_
