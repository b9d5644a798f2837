// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Any bytes as snapshot of the configuration store: every record is an object or an exception.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "expect.h"
#include "store/record_codec.h"
#include "store/snapshot.h"
#include "tavconfigstore/exception.h"

namespace {

using Fuzz::Expect;
using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): all of it

// The file that is written and opened again and again.
class Place {
 public:
  Place() {
    const char* const configured = std::getenv("TMPDIR");
    directory_ = std::string(configured != nullptr ? configured : "/tmp") + "/fuzz-XXXXXX";
    Expect(mkdtemp(directory_.data()) != nullptr, "a temporary directory can be made");
    file_ = open(Path().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    Expect(file_ >= 0, "a temporary file can be made");
  }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;
  ~Place() {
    close(file_);
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
  }

  std::string Path() const { return directory_ + "/config-store.cdb"; }
  void Fill(const unsigned char* data, std::size_t size) const {
    Expect(pwrite(file_, data, size, 0) == static_cast<ssize_t>(size), "the file can be written");
    Expect(ftruncate(file_, static_cast<off_t>(size)) == 0, "the file can be cut");
  }

 private:
  std::string directory_;
  int file_;
};

template <typename Call>
bool Raises(Call call) {
  try {
    call();
  } catch (const ConfigStoreException&) {
    return true;
  }
  return false;
}

// A body that was found good has no bad length in it.
void WalkBody(std::string_view body) {
  BodyReader reader(body);
  for (StoredValue value; reader.NextValue(&value);)
    Expect(FindValue(body, value.name).type != ValueRef::Type::kAbsent || value.type != 's',
           "a text that is there is found");
  for (StoredSubObject sub; reader.NextSubObject(&sub);)
    WalkBody(sub.part);
}

// By each of its values: what is found has the value.
void SearchValues(const Snapshot& snapshot, const Snapshot::Kind& kind, std::string_view body) {
  BodyReader reader(body);
  for (StoredValue value; reader.NextValue(&value);) {
    Raises([&] {
      const auto number = snapshot.FindFirst(kind, value.name, value.data);
      Expect(!number || FindValue(snapshot.Body(*number), value.name).text == value.data,
             "what a search finds has the value");
    });
  }
}

void ReadAll(const Snapshot& snapshot) {
  Raises([&] { snapshot.CheckPages(); });
  for (const Snapshot::Kind& kind : snapshot.kinds()) {
    Raises([&] { snapshot.FindFirst(kind, "no such value", ""); });
    Expect(snapshot.FindKind(kind.name) != nullptr, "a kind is found by its name");
    Raises([&] { snapshot.Find(kind, "no such record"); });
    for (std::uint32_t number = kind.first; number - kind.first < kind.count; ++number) {
      Raises([&] {
        const RecordSource::Record record = snapshot.Read(number);
        WalkBody(record.body);
        SearchValues(snapshot, kind, record.body);
        Expect(snapshot.Body(number) == record.body, "a body is the same every time");
        snapshot.Find(kind, record.instance);
      });
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const Place place;
  place.Fill(data, size);
  Raises([] { ReadAll(*Snapshot::Open(place.Path())); });
  return 0;
}
