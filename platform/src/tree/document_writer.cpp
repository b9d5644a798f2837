// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "tree/document_writer.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "errors/file_failure.h"
#include "services/bytes.h"
#include "services/plain_text.h"
#include "tree/document_parser.h"

namespace ZynCtl::Config {
namespace {

using HostPlatform::ByteBlock;

constexpr std::size_t kWritePieceSize = 512 << 10;

bool NeedsEscape(char c) {
  return static_cast<unsigned char>(c) < ' ' || c == '"' || c == '\\';
}

// The escape sequence of a character.
std::string Escaped(char c) {
  switch (c) {
    case '"':
      return "\\\"";
    case '\\':
      return "\\\\";
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default: {
      char code[8];
      std::snprintf(code, sizeof code, "\\u%04x",
                    static_cast<unsigned>(static_cast<unsigned char>(c)));
      return code;
    }
  }
}

// Copies up to the first character that needs an escape; returns the number of bytes copied.
std::size_t CopyPlain(std::string_view text, char* to) {
  std::size_t done = 0;
  for (; text.size() - done >= sizeof(ByteBlock); done += sizeof(ByteBlock)) {
    const ByteBlock block = HostPlatform::LoadBlock(text.data() + done);
    if (HostPlatform::AnyByte((block < ' ') | (block == '"') | (block == '\\'))) break;
    std::memcpy(to + done, &block, sizeof block);
  }
  for (; done < text.size() && !NeedsEscape(text[done]); ++done)
    to[done] = text[done];
  return done;
}

class Writer {
 public:
  explicit Writer(const std::function<void(std::string_view)>& take)
      : take_(take), buffer_(std::make_unique_for_overwrite<char[]>(kWritePieceSize)) {}

  void WriteAll(const Node& root) {
    PutNode(root);
    while (!open_.empty())
      PutNext();
    Put("\n");
    HandOver();
  }

 private:
  void HandOver() {
    take_({buffer_.get(), used_});
    used_ = 0;
  }

  void Put(std::string_view text) {
    if (text.size() > kWritePieceSize - used_) HandOver();
    if (text.size() > kWritePieceSize) return take_(text);
    HostPlatform::PutBytes(text, buffer_.get() + used_);
    used_ += text.size();
  }

  void PutString(std::string_view text) {
    Put("\"");
    while (!text.empty()) {
      if (used_ == kWritePieceSize) HandOver();
      const std::size_t plain =
          CopyPlain(text.substr(0, kWritePieceSize - used_), buffer_.get() + used_);
      used_ += plain;
      text.remove_prefix(plain);
      if (text.empty() || !NeedsEscape(text.front())) continue;
      Put(Escaped(text.front()));
      text.remove_prefix(1);
    }
    Put("\"");
  }

  void StartLine(std::size_t depth) {
    static constexpr std::string_view kIndent = "\n                                ";
    std::size_t spaces = 2 * depth;
    const std::size_t first = std::min(spaces, kIndent.size() - 1);
    Put(kIndent.substr(0, 1 + first));
    for (spaces -= first; spaces != 0; --spaces)
      Put(" ");
  }

  // Writes the next child of the innermost container, or its end.
  void PutNext() {
    const Node& node = *open_.back().node;
    const std::size_t number = open_.back().next++;
    const bool isBranch = node.type == Node::Type::kBranch;
    if (number == node.children.size()) {
      open_.pop_back();
      if (number != 0) StartLine(open_.size());
      return Put(isBranch ? "}" : "]");
    }
    if (number != 0) Put(",");
    StartLine(open_.size());
    const Child& child = node.children[number];
    if (isBranch) {
      PutString(child.name);
      Put(": ");
    }
    PutNode(*child.node);
  }

  void PutNode(const Node& node) {
    switch (node.type) {
      case Node::Type::kBranch:
        return Open(node, "{");
      case Node::Type::kArray:
        return Open(node, "[");
      case Node::Type::kText:
        return PutString(node.text);
      case Node::Type::kLiteral:
        return Put(node.text);
      case Node::Type::kNull:
        return Put("null");
    }
  }

  void Open(const Node& node, std::string_view bracket) {
    if (open_.size() == kDeepestNesting) {
      RaiseConfigFile("the configuration file cannot nest deeper than " +
                      std::to_string(kDeepestNesting) + " levels; nothing was changed");
    }
    Put(bracket);
    open_.push_back({&node, 0});
  }

  // An open branch or array. An explicit stack, because threads may have a small one.
  struct Container {
    const Node* node;
    std::size_t next;  // index of the next child
  };

  const std::function<void(std::string_view)>& take_;
  std::unique_ptr<char[]> buffer_;
  std::size_t used_ = 0;
  std::vector<Container> open_;  // innermost last
};

}  // namespace

void WriteDocument(const Node& root, const std::function<void(std::string_view)>& take) {
  Writer(take).WriteAll(root);
}

}  // namespace ZynCtl::Config
