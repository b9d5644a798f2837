// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Snapshots changed by hand and given right checksums again, as by somebody who means harm.
#ifndef TESTS_PLATFORM_DAMAGE_FORGERY_H_
#define TESTS_PLATFORM_DAMAGE_FORGERY_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace PlatformTest {

class Forgery {
 public:
  explicit Forgery(std::string snapshot);

  const std::string& bytes() const { return bytes_; }
  std::size_t size() const { return bytes_.size(); }

  // Where things stand, as in the snapshot that it was made from.
  std::size_t footer() const { return footer_; }
  std::size_t root() const { return root_; }
  std::size_t kinds() const { return kinds_; }
  std::size_t recordsEnd() const { return recordsEnd_; }
  // The pages: of positions, of the index of keys, of the index of values, if each has one.
  std::size_t page(std::size_t number) const { return recordsEnd_ + 4096 * number; }
  std::size_t pageCount() const { return (kinds_ - recordsEnd_) / 4096; }
  struct Record {
    std::size_t position;  // of the record's head
    std::size_t key;
    std::size_t data;
    std::size_t body;
    std::size_t checksum;
  };
  const std::vector<Record>& records() const { return records_; }

  std::uint32_t Get32(std::size_t place) const;
  std::uint64_t Get64(std::size_t place) const;
  void Set32(std::size_t place, std::uint32_t value);
  void Set64(std::size_t place, std::uint64_t value);
  void SetByte(std::size_t place, unsigned char value);

  // Makes all checksums right again.
  const std::string& Sealed();

 private:
  std::string bytes_;
  std::size_t footer_;
  std::size_t root_;
  std::size_t kinds_;
  std::size_t recordsEnd_;
  std::vector<Record> records_;
};

}  // namespace PlatformTest

#endif  // TESTS_PLATFORM_DAMAGE_FORGERY_H_
