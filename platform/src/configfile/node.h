// The tree in memory.
//
// A parsed tree is shared by all threads and never changed. A session that changes something copies
// the nodes on the way there, shallowly, and marks the copies as its own; all others stay shared.
#ifndef PLATFORM_SRC_CONFIGFILE_NODE_H_
#define PLATFORM_SRC_CONFIGFILE_NODE_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ZynCtl::Config {

struct Node;

struct Member {
  std::string name;
  std::shared_ptr<Node> node;
};

struct Node {
  enum class Type : std::uint8_t { kBranch, kArray, kText, kLiteral, kNull };

  explicit Node(Type nodeType, std::uint64_t nodeOwner = 0) : type(nodeType), owner(nodeOwner) {}

  Type type;
  std::uint64_t owner;                       // number of the session that may change it; 0: none
  std::string text;                          // of text its stored form (stored_text.h);
                                             // of a number or boolean what was written
  std::vector<Member> members;               // of a branch, in their order
  std::vector<std::shared_ptr<Node>> items;  // of an array
};

// The member of that name; null when there is none.
inline const Member* FindMember(const Node& branch, std::string_view name) {
  for (const Member& member : branch.members) {
    if (member.name == name) return &member;
  }
  return nullptr;
}

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_CONFIGFILE_NODE_H_
