#include "configfile/document_writer.h"

#include <cstdio>

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

void AppendString(const std::string& text, std::string* out) {
  out->push_back('"');
  std::size_t plain = 0;  // start of what has not been copied yet
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!NeedsEscape(text[i])) continue;
    out->append(text, plain, i - plain);
    AppendEscaped(text[i], out);
    plain = i + 1;
  }
  out->append(text, plain);
  out->push_back('"');
}

void StartLine(int depth, std::string* out) {
  out->push_back('\n');
  out->append(2 * static_cast<std::size_t>(depth), ' ');
}

void AppendNode(const Node& node, int depth, std::string* out);

void AppendBranch(const Node& branch, int depth, std::string* out) {
  out->push_back('{');
  for (const Member& member : branch.members) {
    if (&member != &branch.members.front()) out->push_back(',');
    StartLine(depth + 1, out);
    AppendString(member.name, out);
    *out += ": ";
    AppendNode(*member.node, depth + 1, out);
  }
  if (!branch.members.empty()) StartLine(depth, out);
  out->push_back('}');
}

void AppendArray(const Node& array, int depth, std::string* out) {
  out->push_back('[');
  for (const auto& item : array.items) {
    if (&item != &array.items.front()) out->push_back(',');
    StartLine(depth + 1, out);
    AppendNode(*item, depth + 1, out);
  }
  if (!array.items.empty()) StartLine(depth, out);
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

std::string WriteDocument(const Node& root) {
  std::string out;
  AppendNode(root, 0, &out);
  out.push_back('\n');
  return out;
}

}  // namespace ZynCtl::Config
