// Any bytes as configuration file: a tree or an exception, and what is written of a tree reads
// back.
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "configfile/document_parser.h"
#include "configfile/document_writer.h"
#include "configfile/stored_text.h"
#include "expect.h"
#include "zynctl/exception.h"

namespace {

using Fuzz::Expect;
using namespace ZynCtl::Config;  // NOLINT(google-build-using-namespace): all of it

const char kPath[] = "host-config.json";

// In a block of its own, so that a read behind the padding is noticed.
Node* Parse(std::string_view text, TreeStore* store) {
  const auto padded = std::make_unique<char[]>(text.size() + kTextPadding);
  if (!text.empty()) std::memcpy(padded.get(), text.data(), text.size());
  return ParseDocument({padded.get(), text.size()}, kPath, store);
}

// What a reader does with the values.
void DecodeAll(const Node& node) {
  if (node.type == Node::Type::kText) {
    std::string bytes;
    if (DecodeText(node.text, &bytes)) {
      std::string again;
      Expect(DecodeText(EncodeText(bytes), &again), "encoded text can be decoded");
      Expect(again == bytes, "encoding and decoding gives the same bytes");
    }
  }
  for (const Child& child : node.children)
    DecodeAll(*child.node);
}

bool Same(const Node& a, const Node& b) {
  if (a.type != b.type || a.text != b.text || a.children.size() != b.children.size()) return false;
  for (std::size_t i = 0; i < a.children.size(); ++i) {
    if (a.children[i].name != b.children[i].name) return false;
    if (!Same(*a.children[i].node, *b.children[i].node)) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  TreeStore store;
  const Node* tree = nullptr;
  try {
    tree = Parse({reinterpret_cast<const char*>(data), size}, &store);
  } catch (const ConfigFileException&) {
    return 0;
  }
  DecodeAll(*tree);
  TreeStore storeOfCopy;
  std::string written;
  WriteDocument(*tree, [&written](std::string_view piece) { written += piece; });
  const Node* const copy = Parse(written, &storeOfCopy);
  Expect(Same(*tree, *copy), "what is written reads back as the same tree");
  return 0;
}
