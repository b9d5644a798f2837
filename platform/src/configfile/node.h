// The tree in memory.
//
// A parsed tree is shared by all threads and never changed. A session that changes something copies
// the nodes on the way there, shallowly, and marks the copies as its own; all others stay shared.
// Nodes and characters live in the tree store of their document or session, until all of it goes.
#ifndef PLATFORM_SRC_CONFIGFILE_NODE_H_
#define PLATFORM_SRC_CONFIGFILE_NODE_H_

#include <cstdint>
#include <deque>
#include <memory>
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

  explicit Node(Type nodeType, std::uint64_t nodeOwner = 0) : owner(nodeOwner), type(nodeType) {}

  std::uint64_t owner;          // number of the session that may change it; 0: none
  std::string_view text;        // of text its stored form (stored_text.h);
                                // of a number or boolean what was written
  std::vector<Child> children;  // of a branch or an array, in their order
  Type type;
};

class TreeStore {
 public:
  Node* Make(Node::Type type, std::uint64_t owner = 0) { return &nodes_.emplace_back(type, owner); }
  Node* Copy(const Node& node) { return &nodes_.emplace_back(node); }

  std::string_view Keep(std::string text) { return texts_.emplace_back(std::move(text)); }
  // A parser's block of characters, which nodes refer to.
  void Keep(std::unique_ptr<std::uint8_t[]> characters) { characters_ = std::move(characters); }

 private:
  std::deque<Node> nodes_;
  std::deque<std::string> texts_;
  std::unique_ptr<std::uint8_t[]> characters_;
};

// The child of that name; null when there is none.
inline Node* FindChild(const Node& branch, std::string_view name) {
  for (const Child& child : branch.children) {
    if (child.name == name) return child.node;
  }
  return nullptr;
}

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_CONFIGFILE_NODE_H_
