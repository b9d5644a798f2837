// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Identifiers that remember how they were made.
#ifndef TAVCONFIGSTORE_OBJECT_ID_H_
#define TAVCONFIGSTORE_OBJECT_ID_H_

#include <string>
#include <utility>

namespace TavConfigStore {

extern const std::string kEmptyString;
extern const std::string sGlobalNamespace;

// An instance that tells whether it was assigned.
struct Instance {
  Instance& operator=(const std::string& assigned) {
    text = "=" + assigned;
    return *this;
  }
  std::string text;
};

struct ConfigStoreObjectId {
  ConfigStoreObjectId(const std::string& key, const std::string& group,
                      const std::string& component)
      : made("(" + key + ", " + group + ", " + component + ")") {}
  ConfigStoreObjectId(const std::string& key, const std::string& group,
                      const std::string& component, const std::string& instanceGiven)
      : made("(" + key + ", " + group + ", " + component + ", " + instanceGiven + ")") {}

  std::string Text() const { return made + instance.text; }

  std::string made;
  Instance instance;
};

struct SubObjectId {
  SubObjectId(const std::string& name, const std::string& instance)
      : made("(" + name + ", " + instance + ")") {}
  std::string made;
};

}  // namespace TavConfigStore

#endif  // TAVCONFIGSTORE_OBJECT_ID_H_
