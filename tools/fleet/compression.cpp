// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "fleet/compression.h"

#include <zlib.h>

#include <algorithm>
#include <new>

namespace QuorFleet {
namespace {

class Inflation {
 public:
  explicit Inflation(const std::string& bytes) {
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));  // zlib only reads
    stream_.avail_in = static_cast<uInt>(bytes.size());
    if (inflateInit(&stream_) != Z_OK) throw std::bad_alloc();
  }
  Inflation(const Inflation&) = delete;
  Inflation& operator=(const Inflation&) = delete;
  ~Inflation() { inflateEnd(&stream_); }

  z_stream* operator->() { return &stream_; }
  int Step() { return inflate(&stream_, Z_NO_FLUSH); }

 private:
  z_stream stream_ = {};
};

}  // namespace

std::string Compressed(const std::string& bytes) {
  uLongf size = compressBound(static_cast<uLong>(bytes.size()));
  std::string compressed(size, '\0');
  if (compress2(reinterpret_cast<Bytef*>(compressed.data()), &size,
                reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uLong>(bytes.size()),
                Z_DEFAULT_COMPRESSION) != Z_OK) {
    throw std::bad_alloc();
  }
  compressed.resize(size);
  return compressed;
}

std::optional<std::string> Uncompressed(const std::string& bytes, std::size_t most) {
  if (bytes.size() > kLargestDocument) return std::nullopt;
  constexpr std::size_t kPiece = std::size_t{1} << 16;
  Inflation inflation(bytes);
  std::string text;
  std::string piece(kPiece, '\0');
  for (int status = Z_OK; status != Z_STREAM_END;) {
    inflation->next_out = reinterpret_cast<Bytef*>(piece.data());
    inflation->avail_out = static_cast<uInt>(kPiece);
    status = inflation.Step();
    if (status == Z_MEM_ERROR) throw std::bad_alloc();
    if (status != Z_OK && status != Z_STREAM_END) return std::nullopt;
    text.append(piece, 0, kPiece - inflation->avail_out);
    if (text.size() > most) return std::nullopt;
  }
  if (inflation->avail_in != 0) return std::nullopt;
  return text;
}

}  // namespace QuorFleet
