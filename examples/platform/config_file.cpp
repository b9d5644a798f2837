// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The configuration file: branches by their paths. A session works on a copy of the tree, which
// Write() puts in place of the tree; sessions take turns.
#include "zynctl/config_file.h"

#include <charconv>
#include <deque>
#include <list>
#include <map>
#include <mutex>
#include <utility>

namespace ZynCtl {
namespace Config {

namespace {

struct Branch {
  std::map<std::string, std::string> values;
  std::map<std::string, std::list<Branch>> arrays;  // a list: instances stay where they are
};
using Tree = std::map<std::string, Branch>;

std::mutex fileMutex;  // held for the whole of a session
Tree writtenTree;      // guarded by it

}  // namespace

// What a handle means: a branch or an array of the session's tree.
struct Node {
  Branch* branch;
  std::list<Branch>* array;
};

class Session {
 public:
  Branch& BranchAt(const std::string& path) { return tree_[path]; }
  void Write() { writtenTree = tree_; }

  // The place outlives the handle that is made from it: it lives as long as the session.
  Place PlaceOf(Branch* branch, std::list<Branch>* array) {
    Place place;
    place.session = this;
    place.node = &nodes_.emplace_back(Node{branch, array});
    return place;
  }

 private:
  std::lock_guard<std::mutex> lock_{fileMutex};
  Tree tree_ = writtenTree;
  std::deque<Node> nodes_;
};

ConfigBranch::ConfigBranch(const Place& place) : place_(place) {}
ConfigBranch::~ConfigBranch() = default;

std::shared_ptr<ConfigArray> ConfigBranch::GetArray(const std::string& name) {
  return std::make_shared<ConfigArray>(
      place_.session->PlaceOf(nullptr, &place_.node->branch->arrays[name]));
}

bool ConfigBranch::GetValue(const std::string& key, std::string* value) const {
  const auto found = place_.node->branch->values.find(key);
  if (found == place_.node->branch->values.end()) return false;
  *value = found->second;
  return true;
}

bool ConfigBranch::GetValue(const std::string& key, int* value) const {
  std::string text;
  if (!GetValue(key, &text)) return false;
  // Up to 64 bits, signed or not, reduced to the 32 that the caller has room for.
  const char* const end = text.data() + text.size();
  unsigned long long magnitude = 0;
  const bool negative = !text.empty() && text.front() == '-';
  const auto [stopped, error] = std::from_chars(text.data() + (negative ? 1 : 0), end, magnitude);
  if (error != std::errc() || stopped != end) return false;
  *value = static_cast<int>(static_cast<std::uint32_t>(negative ? 0 - magnitude : magnitude));
  return true;
}

void ConfigBranch::SetValue(const std::string& key, const std::string& value) {
  place_.node->branch->values[key] = value;
}
void ConfigBranch::SetValue(const std::string& key, std::string&& value) {
  place_.node->branch->values[key] = std::move(value);
}
void ConfigBranch::SetValue(const std::string& key, std::uint64_t value) {
  place_.node->branch->values[key] = std::to_string(value);
}

void ConfigBranch::RemoveAllChildren() {
  *place_.node->branch = Branch();
}

ConfigArray::ConfigArray(const Place& place) : place_(place) {}
ConfigArray::~ConfigArray() = default;

std::shared_ptr<ConfigBranch> ConfigArray::NewInstance() {
  return std::make_shared<ConfigBranch>(
      place_.session->PlaceOf(&place_.node->array->emplace_back(), nullptr));
}

std::vector<std::shared_ptr<ConfigBranch>> ConfigArray::GetInstances() {
  std::vector<std::shared_ptr<ConfigBranch>> instances;
  for (Branch& instance : *place_.node->array) {
    instances.push_back(
        std::make_shared<ConfigBranch>(place_.session->PlaceOf(&instance, nullptr)));
  }
  return instances;
}

ConfigFile::ConfigFile() : session_(std::make_shared<Session>()) {}
ConfigFile::~ConfigFile() = default;

std::shared_ptr<ConfigBranch> ConfigFile::GetBranch(const std::string& path) {
  return std::make_shared<ConfigBranch>(session_->PlaceOf(&session_->BranchAt(path), nullptr));
}
void ConfigFile::Write() {
  session_->Write();
}
void ConfigFile::Unlock() {
  delete this;
}

SynchronizedConfigFile::SynchronizedConfigFile() : file(new ConfigFile) {}
SynchronizedConfigFile::~SynchronizedConfigFile() {
  file->Unlock();
}

}  // namespace Config
}  // namespace ZynCtl
