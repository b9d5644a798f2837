// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Answers each line of hexadecimal digits on standard input with the digest of the bytes that they
// stand for, so that a program of another language can compare.
#include <iostream>
#include <string>

#include "digest/md5_hex.h"

namespace {

unsigned ValueOf(char digit) {
  return static_cast<unsigned>(std::string("0123456789abcdef").find(digit));
}

std::string BytesOf(const std::string& digits) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes += static_cast<char>(ValueOf(digits[i]) * 16 + ValueOf(digits[i + 1]));
  }
  return bytes;
}

}  // namespace

int main() {
  for (std::string line; std::getline(std::cin, line);)
    std::cout << TavQuor::Digest::Md5Hex(BytesOf(line)) << '\n';
}
