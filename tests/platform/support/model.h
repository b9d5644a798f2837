// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The configuration store as it should be: an in-memory model for random operations.
#ifndef TESTS_PLATFORM_SUPPORT_MODEL_H_
#define TESTS_PLATFORM_SUPPORT_MODEL_H_

#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "support/random.h"
#include "support/store_calls.h"

namespace PlatformTest {

using Values = std::map<std::string, std::variant<std::string, long long>>;

// What an object holds; sub-objects, named by name and instance, in the order of creation.
struct Contents {
  Values values;
  std::vector<std::pair<std::pair<std::string, std::string>, Values>> subObjects;
};

// All objects; those of one kind in the order of first write.
class State {
 public:
  using Entry = std::pair<std::string, Contents>;

  const std::vector<Entry>& Of(const std::string& kind) const;
  const Contents* Find(const std::string& kind, const std::string& instance) const;
  void Set(const std::string& kind, const std::string& instance, Contents contents);
  void Delete(const std::string& kind, const std::string& instance);
  void DeleteAll(const std::string& kind) { kinds_.erase(kind); }

 private:
  std::map<std::string, std::vector<Entry>> kinds_;
};

// The names that random operations choose from.
const std::vector<std::string>& Kinds();
const std::vector<std::string>& Instances();
const std::vector<std::string>& ValueNames();

Contents RandomContents(Random* random);
// One random change to what the object holds, made to both forms.
void ChangeAlike(Random* random, ConfigStoreObject* object, Contents* contents);

Object ToObject(const std::string& kind, const std::string& instance, const Contents& contents);

// Everything that can be asked of an object, as text: equal texts mean equal objects.
std::string Describe(const Contents& contents);
std::string Describe(const ConfigStoreObject& object);
inline constexpr char kAbsent[] = "(absent)";
std::string Describe(const Contents* contents);
std::string Describe(const Object& object);

Texts DescribeAll(const State& state, const std::string& kind);
Texts DescribeAll(const std::vector<Object>& objects);

}  // namespace PlatformTest

#endif  // TESTS_PLATFORM_SUPPORT_MODEL_H_
