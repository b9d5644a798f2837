// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The tree in memory.
//
// A parsed tree is shared by all threads and never changed. A session that changes something copies
// the nodes on the way there, but not what is below them, and marks the copies as its own; all
// others stay shared. Nodes and characters live in the tree store of their document or session,
// until all of it goes.
#ifndef PLATFORM_SRC_CONFIGFILE_NODE_H_
#define PLATFORM_SRC_CONFIGFILE_NODE_H_

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

// What stands below a branch or in an array.
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

  std::uint64_t owner;               // number of the session, since its last Write(), that may
                                     // change it; 0: none
  std::string_view text;             // of text its stored form (stored_text.h);
                                     // of a number or boolean what was written
  std::pmr::vector<Child> children;  // of a branch or an array, in their order
  Type type;
};

// Memory is given back all at once, in few pieces; nodes are not destroyed one by one.
class TreeStore {
 public:
  Node* Make(Node::Type type, std::uint64_t owner = 0) {
    return allocator_.new_object<Node>(type, owner, &memory_);
  }
  // With its text and the names of its children, which are shared themselves.
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
  // Room for so many characters.
  char* Reserve(std::size_t size) { return static_cast<char*>(memory_.allocate(size, 1)); }
  // A document's text, which nodes refer to.
  void Keep(std::unique_ptr<char[]> document) { document_ = std::move(document); }

 private:
  // Not from the resource that is the program's default just now: the tree may outlive it.
  std::pmr::monotonic_buffer_resource memory_{std::pmr::new_delete_resource()};
  std::pmr::polymorphic_allocator<> allocator_{&memory_};
  std::pmr::deque<std::string> texts_{&memory_};
  std::unique_ptr<char[]> document_;
};

// The child of that name; null when there is none.
inline Node* FindChild(const Node& branch, std::string_view name) {
  for (const Child& child : branch.children) {
    if (child.name == name) return child.node;
  }
  return nullptr;
}

// Whether two trees hold the same.
inline bool SameTree(const Node& a, const Node& b) {
  return &a == &b ||
         (a.type == b.type && a.text == b.text &&
          std::equal(a.children.begin(), a.children.end(), b.children.begin(), b.children.end(),
                     [](const Child& one, const Child& another) {
                       return one.name == another.name && SameTree(*one.node, *another.node);
                     }));
}

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_CONFIGFILE_NODE_H_
