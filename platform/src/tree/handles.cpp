// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "zynctl/config_file.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <utility>

#include "errors/file_failure.h"
#include "os/call_scope.h"
#include "tree/document_parser.h"
#include "tree/session.h"
#include "tree/stored_text.h"

namespace ZynCtl::Config {

using HostPlatform::Io::CallScope;

namespace {

Place Below(const Place& parent, std::string_view name) {
  Place place;
  place.session = parent.session;
  place.parent = &parent;
  place.name = name;
  return place;
}

Place Item(const Place& array, std::size_t index) {
  Place place;
  place.session = array.session;
  place.parent = &array;
  place.index = index;
  return place;
}

// The stored value; null if absent.
const Node* ReadValue(const Place& branch, const std::string& key) {
  branch.session->NoteAnswer();
  const Node* const node = branch.session->Read(branch);
  if (node == nullptr) return nullptr;
  if (node->type != Node::Type::kBranch) return nullptr;
  const Node* const value = FindChild(*node, key);
  if (value == nullptr || value->type == Node::Type::kNull) return nullptr;
  const Node::Type type = value->type;
  if (type == Node::Type::kBranch || type == Node::Type::kArray) {
    branch.session->RaiseAt(Below(branch, key), "it is a branch or an array and not a value");
  }
  return value;
}

}  // namespace

// ConfigBranch

ConfigBranch::ConfigBranch(const Place& place) : place_(place) {}

ConfigBranch::ConfigBranch(Session* session, const Place* array, std::size_t index,
                           const Node* item, std::uint64_t version)
    : place_{session, array, {}, index, item, version} {}

ConfigBranch::~ConfigBranch() = default;

std::shared_ptr<ConfigArray> ConfigBranch::GetArray(const std::string& name) {
  const CallScope scope;
  Session& session = *place_.session;
  const Place place = Below(place_, session.KeepName(name));
  const Node* const present = session.Read(place);
  if (present != nullptr && present->type != Node::Type::kArray &&
      present->type != Node::Type::kNull) {
    session.RaiseAt(place, "it is not an array");
  }
  if (present == nullptr && session.IsChanging(place_)) session.Change(place, Node::Type::kArray);
  return session.MakeArray(place);
}

bool ConfigBranch::GetValue(const std::string& key, std::string* value) const {
  const Node* const node = ReadValue(place_, key);
  if (node == nullptr) return false;
  if (node->type == Node::Type::kLiteral) {
    *value = node->text;
  } else if (!DecodeText(node->text, value)) {
    place_.session->RaiseAt(Below(place_, key), "its Base64 is not valid");
  }
  return true;
}

bool ConfigBranch::GetValue(const std::string& key, int* value) const {
  const Node* const node = ReadValue(place_, key);
  if (node == nullptr) return false;
  const std::string_view text = node->text;
  const char* const end = text.data() + text.size();
  unsigned long long number = 0;
  if (text.starts_with('-')) {
    long long negative = 0;
    const auto [stopped, error] = std::from_chars(text.data(), end, negative);
    if (error != std::errc() || stopped != end) return false;
    number = static_cast<unsigned long long>(negative);
  } else {
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stopped != end) return false;
  }
  *value = static_cast<int>(static_cast<unsigned>(number));
  return true;
}

void ConfigBranch::SetValue(const std::string& key, const std::string& value) {
  SetValue(key, std::string(value));
}

void ConfigBranch::SetValue(const std::string& key, std::string&& value) {
  const CallScope scope;
  place_.session->ChangeText(Below(place_, key), EncodeText(std::move(value)));
}

void ConfigBranch::SetValue(const std::string& key, std::uint64_t value) {
  const CallScope scope;
  place_.session->ChangeText(Below(place_, key), std::to_string(value));
}

void ConfigBranch::RemoveAllChildren() {
  const CallScope scope;
  place_.session->Change(place_, Node::Type::kBranch).children.clear();
  place_.session->ForgetPlaces();
}

// ConfigArray

ConfigArray::ConfigArray(const Place& place) : place_(place) {}

ConfigArray::~ConfigArray() = default;

std::shared_ptr<ConfigBranch> ConfigArray::NewInstance() {
  const CallScope scope;
  return place_.session->MakeBranch(Item(place_, place_.session->Append(place_)));
}

std::vector<std::shared_ptr<ConfigBranch>> ConfigArray::GetInstances() {
  Session& session = *place_.session;
  session.NoteAnswer();
  const Node* const array = session.Read(place_);
  if (array == nullptr) return {};
  return session.MakeBranches(place_, *array);
}

// ConfigFile

ConfigFile::ConfigFile() : session_(std::make_shared<Session>()) {}

ConfigFile::~ConfigFile() = default;

std::shared_ptr<ConfigBranch> ConfigFile::GetBranch(const std::string& path) {
  const Place* place = &session_->Root();
  std::shared_ptr<ConfigBranch> branch;
  std::size_t depth = 1;  // of the root
  for (std::size_t start = 0; start < path.size();) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    if (end != start) {
      const Place next =
          Below(*place, session_->KeepName(std::string_view(path).substr(start, end - start)));
      if (++depth > kDeepestNesting) {
        RaiseConfigFile("the path of a branch cannot have more than " +
                        std::to_string(kDeepestNesting - 1) + " parts; nothing was changed");
      }
      const Node* const present = session_->Read(next);
      if (present != nullptr && present->type != Node::Type::kBranch &&
          present->type != Node::Type::kNull) {
        session_->RaiseAt(next, "it is not a branch (a JSON object)");
      }
      branch = session_->MakeBranch(next);
      place = &branch->place_;
    }
    start = end + 1;
  }
  return branch ? branch : session_->MakeBranch(session_->Root());
}

void ConfigFile::Write() {
  const CallScope scope;
  session_->Write();
}

void ConfigFile::Unlock() {
  const CallScope scope;
  session_->End();
  delete this;
}

// SynchronizedConfigFile

SynchronizedConfigFile::SynchronizedConfigFile() {
  const CallScope scope;
  file = new ConfigFile();
}

SynchronizedConfigFile::~SynchronizedConfigFile() {
  const CallScope scope;
  file->Unlock();
}

}  // namespace ZynCtl::Config
