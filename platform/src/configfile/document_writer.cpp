#include "configfile/document_writer.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "configfile/document_parser.h"
#include "configfile/failure.h"

namespace ZynCtl::Config {
namespace {

bool NeedsEscape(char c) {
  return static_cast<unsigned char>(c) < ' ' || c == '"' || c == '\\';
}

void AppendEscaped(char c, std::string* out) {
  switch (c) {
    case '"':
      *out += "\\\"";
      break;
    case '\\':
      *out += "\\\\";
      break;
    case '\n':
      *out += "\\n";
      break;
    case '\r':
      *out += "\\r";
      break;
    case '\t':
      *out += "\\t";
      break;
    default: {
      char code[8];
      std::snprintf(code, sizeof code, "\\u%04x",
                    static_cast<unsigned>(static_cast<unsigned char>(c)));
      *out += code;
    }
  }
}

// Most text has nothing to escape: eight bytes are looked at together. In `word`, a byte less than
// 0x20 borrows from its highest bit, and one equal to a quote or backslash leaves a zero byte.
bool MayNeedEscape(std::uint64_t word) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  const auto hasZero = [](std::uint64_t bytes) { return (bytes - kOnes) & ~bytes & kHighBits; };
  const std::uint64_t control = (word - kOnes * 0x20) & ~word & kHighBits;
  return (control | hasZero(word ^ (kOnes * '"')) | hasZero(word ^ (kOnes * '\\'))) != 0;
}

std::size_t FindEscape(std::string_view text, std::size_t from) {
  for (std::uint64_t word; text.size() - from >= sizeof word; from += sizeof word) {
    std::memcpy(&word, text.data() + from, sizeof word);
    if (MayNeedEscape(word)) break;
  }
  while (from < text.size() && !NeedsEscape(text[from]))
    ++from;
  return from;
}

void AppendString(std::string_view text, std::string* out) {
  out->push_back('"');
  std::size_t done = 0;
  while (done < text.size()) {
    const std::size_t escape = FindEscape(text, done);
    out->append(text, done, escape - done);
    if (escape < text.size()) AppendEscaped(text[escape], out);
    done = escape + 1;
  }
  out->push_back('"');
}

void StartLine(int depth, std::string* out) {
  out->push_back('\n');
  out->append(2 * static_cast<std::size_t>(depth), ' ');
}

void AppendNode(const Node& node, int depth, std::string* out);

void AppendBranch(const Node& branch, int depth, std::string* out) {
  out->push_back('{');
  for (const Child& member : branch.children) {
    if (&member != &branch.children.front()) out->push_back(',');
    StartLine(depth + 1, out);
    AppendString(member.name, out);
    *out += ": ";
    AppendNode(*member.node, depth + 1, out);
  }
  if (!branch.children.empty()) StartLine(depth, out);
  out->push_back('}');
}

void AppendArray(const Node& array, int depth, std::string* out) {
  out->push_back('[');
  for (const Child& item : array.children) {
    if (&item != &array.children.front()) out->push_back(',');
    StartLine(depth + 1, out);
    AppendNode(*item.node, depth + 1, out);
  }
  if (!array.children.empty()) StartLine(depth, out);
  out->push_back(']');
}

void AppendNode(const Node& node, int depth, std::string* out) {
  if (depth > kDeepestNesting) {
    RaiseConfigFile("the configuration file cannot nest deeper than " +
                    std::to_string(kDeepestNesting) + " levels; nothing was changed");
  }
  switch (node.type) {
    case Node::Type::kBranch:
      AppendBranch(node, depth, out);
      break;
    case Node::Type::kArray:
      AppendArray(node, depth, out);
      break;
    case Node::Type::kText:
      AppendString(node.text, out);
      break;
    case Node::Type::kLiteral:
      *out += node.text;
      break;
    case Node::Type::kNull:
      *out += "null";
      break;
  }
}

}  // namespace

std::string WriteDocument(const Node& root, std::size_t expectedSize) {
  std::string out;
  out.reserve(expectedSize + expectedSize / 8);
  AppendNode(root, 0, &out);
  out.push_back('\n');
  return out;
}

}  // namespace ZynCtl::Config
