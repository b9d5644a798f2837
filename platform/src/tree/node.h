// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Copy-on-write tree of the configuration file.
//
// A parsed tree is immutable and shared by all threads. A session copies the nodes on the path to a
// change and marks the copies as its own; all other nodes stay shared. Nodes and characters live in
// the TreeStore (an arena) of their document or session.
#ifndef PLATFORM_SRC_TREE_NODE_H_
#define PLATFORM_SRC_TREE_NODE_H_

#include <algorithm>
#include <cstdint>
#include <deque>
#include <memory>
#include <memory_resource>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ZynCtl::Config {

struct Node;

// An entry of a branch or an array.
struct Child {
  std::string_view name;  // empty in an array
  Node* node = nullptr;
};

struct Node {
  enum class Type : std::uint8_t { kBranch, kArray, kText, kLiteral, kNull };

  Node(Type nodeType, std::uint64_t nodeOwner, std::pmr::memory_resource* memory)
      : owner(nodeOwner), children(memory), type(nodeType) {}
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;
  ~Node() = default;

  std::uint64_t owner;               // Session::number_ of the session that may change it; 0: none
  std::string_view text;             // kText: stored form (stored_text.h); kLiteral: as written
  std::pmr::vector<Child> children;  // kBranch, kArray: in order
  Type type;
};

// Arena: frees its memory at once and does not destroy nodes one by one.
class TreeStore {
 public:
  Node* Make(Node::Type type, std::uint64_t owner = 0) {
    return allocator_.new_object<Node>(type, owner, &memory_);
  }
  // Copies the node, its text and the names of its children; the children are shared.
  Node* Copy(const Node& node, std::uint64_t owner) {
    Node* const copy = allocator_.new_object<Node>(node.type, owner, &memory_);
    copy->text = Keep(node.text);
    copy->children.reserve(node.children.size());
    for (const Child& child : node.children)
      copy->children.push_back({Keep(child.name), child.node});
    return copy;
  }

  std::string_view Keep(std::string&& text) { return texts_.emplace_back(std::move(text)); }
  std::string_view Keep(std::string_view text) {
    if (text.empty()) return {};
    char* const copy = Reserve(text.size());
    return {copy, static_cast<std::size_t>(std::copy(text.begin(), text.end(), copy) - copy)};
  }
  // Uninitialised memory for `size` characters.
  char* Reserve(std::size_t size) { return static_cast<char*>(memory_.allocate(size, 1)); }
  // Takes over a document's text, to which nodes refer.
  void Keep(std::unique_ptr<char[]> document) { document_ = std::move(document); }

 private:
  // Not the program's default resource, which the tree may outlive.
  std::pmr::monotonic_buffer_resource memory_{std::pmr::new_delete_resource()};
  std::pmr::polymorphic_allocator<> allocator_{&memory_};
  std::pmr::deque<std::string> texts_{&memory_};
  std::unique_ptr<char[]> document_;
};

// The child of that name; null if there is none.
inline Node* FindChild(const Node& branch, std::string_view name) {
  for (const Child& child : branch.children) {
    if (child.name == name) return child.node;
  }
  return nullptr;
}

// Deep equality.
inline bool SameTree(const Node& a, const Node& b) {
  return &a == &b ||
         (a.type == b.type && a.text == b.text &&
          std::equal(a.children.begin(), a.children.end(), b.children.begin(), b.children.end(),
                     [](const Child& one, const Child& another) {
                       return one.name == another.name && SameTree(*one.node, *another.node);
                     }));
}

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_TREE_NODE_H_
