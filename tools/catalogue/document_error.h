// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// How an error in an input document is reported.
#ifndef TOOLS_CATALOGUE_DOCUMENT_ERROR_H_
#define TOOLS_CATALOGUE_DOCUMENT_ERROR_H_

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace Quorctl {

// Paths as in policies[3].blobs[0].base64; the document itself has the empty path.
inline std::string MemberPath(const std::string& path, const std::string& key) {
  return path.empty() ? key : path + "." + key;
}
inline std::string ElementPath(const std::string& path, std::size_t index) {
  return path + "[" + std::to_string(index) + "]";
}

// "catalogue.json: line 12: policies[3].id: what is wrong".
class DocumentError : public std::runtime_error {
 public:
  DocumentError(const std::string& source, const std::string& path, const std::string& problem)
      : std::runtime_error(source + ": " + (path.empty() ? "" : path + ": ") + problem) {}

  // What is wrong beside that, likewise.
  std::vector<std::string> others;
};

// All that is wrong with a document, in the order in which it was found.
class DocumentProblems {
 public:
  void Add(const std::string& path, const std::string& problem) {
    if (++count_ <= kMostShown) problems_.push_back({path, problem});
  }

  // Those of another part of the document.
  void Add(const DocumentProblems& others) {
    for (const Problem& problem : others.problems_)
      Add(problem.path, problem.text);
    count_ += others.count_ - others.problems_.size();
  }

  bool Any() const { return count_ > 0; }

  // Raises DocumentError if there are any. The message gives the line of each in `text`, which must
  // be valid JSON; the first ones are listed, the others counted.
  void Raise(const std::string& text, const std::string& source) const {
    if (Any()) throw Told(text, source);
  }

 private:
  DocumentError Told(const std::string& text, const std::string& source) const;

  static constexpr std::size_t kMostShown = 20;

  struct Problem {
    std::string path;
    std::string text;
  };
  std::vector<Problem> problems_;
  std::size_t count_ = 0;
};

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_DOCUMENT_ERROR_H_
