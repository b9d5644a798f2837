// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The recording platform's configuration file. A session works on a copy of the tree, which
// replaces the tree at Write() and is dropped at Unlock().
#include "zynctl/config_file.h"

#include <cerrno>
#include <cstdlib>
#include <optional>

#include "recording/getters.h"
#include "recording/platform.h"

namespace ZynCtl::Config {

using Recording::FileArray;
using Recording::FileBranch;
using Recording::LogFileCall;
using Recording::Quoted;
using Recording::ThePlatform;

// What a handle stands for: a branch or an array of the open session.
struct Node {
  std::string label;  // how the log calls it
  FileBranch* branch = nullptr;
  FileArray* array = nullptr;
};

class Session {
 public:
  Place Of(Node node) {
    nodes_.push_back(std::move(node));
    Place place;
    place.session = this;
    place.node = &nodes_.back();
    return place;
  }

 private:
  std::list<Node> nodes_;
};

namespace {

std::string Indexed(const std::string& array, std::size_t index) {
  return array + "[" + std::to_string(index) + "]";
}

// Branches at the top of the tree are known by their paths; arrays in them by their names alone.
std::string ArrayLabel(const std::string& branch, const std::string& name) {
  return branch.front() == '/' ? name : branch + "." + name;
}

[[noreturn]] void RaiseWrongKind(const std::string& label, const std::string& key) {
  throw ConfigFileException((label + " " + key + " is of another kind").c_str());
}

void Acquire() {
  ++ThePlatform().liveFileHandles;
}

void Release(const Place& place) {
  --ThePlatform().liveFileHandles;
  ThePlatform().releases.push_back(place.node->label);
}

const std::string* FindValue(const Place& place, const std::string& key) {
  const FileBranch& branch = *place.node->branch;
  if (branch.arrays.count(key) != 0) RaiseWrongKind(place.node->label, key);
  const auto position = branch.values.find(key);
  return position == branch.values.end() ? nullptr : &position->second;
}

// A whole decimal number of up to 64 bits, signed or unsigned, reduced modulo 2^32.
std::optional<int> ToInt(const std::string& text) {
  const bool isNegative = !text.empty() && text.front() == '-';
  const std::string digits = text.substr(isNegative ? 1 : 0);
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) return {};
  errno = 0;
  const auto bits = isNegative
                        ? static_cast<unsigned long long>(std::strtoll(text.c_str(), nullptr, 10))
                        : std::strtoull(text.c_str(), nullptr, 10);
  if (errno != 0) return {};
  return static_cast<int>(static_cast<std::uint32_t>(bits));
}

void LogSetter(const Place& place, const std::string& key, const std::string& argument) {
  LogFileCall("SetValue " + place.node->label + " " + key + ": " + argument);
}

}  // namespace

ConfigFileException::ConfigFileException(const char* message) : BriskException(message) {}
ConfigFileException::~ConfigFileException() = default;

ConfigBranch::ConfigBranch(const Place& place) : place_(place) {
  Acquire();
}

ConfigBranch::~ConfigBranch() {
  Release(place_);
}

std::shared_ptr<ConfigArray> ConfigBranch::GetArray(const std::string& name) {
  LogFileCall("GetArray " + place_.node->label + " " + name);
  if (place_.node->branch->values.count(name) != 0) RaiseWrongKind(place_.node->label, name);
  FileArray& array = place_.node->branch->arrays[name];
  return std::make_shared<ConfigArray>(
      place_.session->Of({ArrayLabel(place_.node->label, name), nullptr, &array}));
}

bool ConfigBranch::GetValue(const std::string& key, std::string* value) const {
  const std::string line = "GetValue " + place_.node->label + " " + key + ": text";
  if (!value->empty()) Recording::getters.notEmpty.push_back(line);
  LogFileCall(line);
  const std::string* const found = FindValue(place_, key);
  if (found != nullptr) *value = *found;
  return Recording::Answer(line, found != nullptr, value);
}

bool ConfigBranch::GetValue(const std::string& key, int* value) const {
  const std::string line = "GetValue " + place_.node->label + " " + key + ": int";
  if (*value != 0) Recording::getters.notEmpty.push_back(line);
  LogFileCall(line);
  const std::string* const found = FindValue(place_, key);
  const std::optional<int> number = found == nullptr ? std::nullopt : ToInt(*found);
  if (!number) return false;
  *value = *number;
  return Recording::Answer(line, true);
}

void ConfigBranch::SetValue(const std::string& key, const std::string& value) {
  LogSetter(place_, key, "const& " + Quoted(value));
  place_.node->branch->values[key] = value;
}

void ConfigBranch::SetValue(const std::string& key, std::string&& value) {
  LogSetter(place_, key, "&& " + Quoted(value));
  place_.node->branch->values[key] = std::move(value);
}

void ConfigBranch::SetValue(const std::string& key, std::uint64_t value) {
  LogSetter(place_, key, "unsigned long " + std::to_string(value));
  place_.node->branch->values[key] = std::to_string(value);
}

void ConfigBranch::RemoveAllChildren() {
  LogFileCall("RemoveAllChildren " + place_.node->label);
  *place_.node->branch = FileBranch();
}

ConfigArray::ConfigArray(const Place& place) : place_(place) {
  Acquire();
}

ConfigArray::~ConfigArray() {
  Release(place_);
}

std::shared_ptr<ConfigBranch> ConfigArray::NewInstance() {
  LogFileCall("NewInstance " + place_.node->label);
  FileArray& array = *place_.node->array;
  array.emplace_back();
  return std::make_shared<ConfigBranch>(
      place_.session->Of({Indexed(place_.node->label, array.size() - 1), &array.back(), nullptr}));
}

std::vector<std::shared_ptr<ConfigBranch>> ConfigArray::GetInstances() {
  LogFileCall("GetInstances " + place_.node->label);
  std::vector<std::shared_ptr<ConfigBranch>> instances;
  for (FileBranch& instance : *place_.node->array) {
    const std::string label = Indexed(place_.node->label, instances.size());
    instances.push_back(
        std::make_shared<ConfigBranch>(place_.session->Of({label, &instance, nullptr})));
  }
  return instances;
}

ConfigFile::ConfigFile() : session_(std::make_shared<Session>()) {}

ConfigFile::~ConfigFile() = default;

std::shared_ptr<ConfigBranch> ConfigFile::GetBranch(const std::string& path) {
  LogFileCall("GetBranch " + path);
  return std::make_shared<ConfigBranch>(
      session_->Of({path, &ThePlatform().openFile[path], nullptr}));
}

void ConfigFile::Write() {
  LogFileCall("Write");
  ThePlatform().file = ThePlatform().openFile;
}

void ConfigFile::Unlock() {
  Recording::Platform& platform = ThePlatform();
  platform.handlesHeldAtUnlock += platform.liveFileHandles;
  ++platform.unlocks;
  platform.releases.push_back("Unlock");
  LogFileCall("Unlock");
  platform.openFile.clear();
  delete this;
}

SynchronizedConfigFile::SynchronizedConfigFile() : file(nullptr) {
  LogFileCall("SynchronizedConfigFile");
  Recording::Platform& platform = ThePlatform();
  if (platform.locks != platform.unlocks) ++platform.nestedLocks;
  ++platform.locks;
  platform.openFile = platform.file;
  file = new ConfigFile;
}

SynchronizedConfigFile::~SynchronizedConfigFile() {
  file->Unlock();
}

}  // namespace ZynCtl::Config
