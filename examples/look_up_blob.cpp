// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Prints the policy blob that applies to a datastore, as it is, to the standard output.
//
//   look_up_blob DATASTORE_URL              of the datastore's default policy
//   look_up_blob DATASTORE_URL POLICY_ID    of the policy
//
// Exit status: 0 a blob was found, 1 there is none, 2 the question could not be answered.
#include <quor/quor_lib.h>

#include <exception>
#include <iostream>
#include <string>

using TavQuor::QuorLib;

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::cerr << "usage: look_up_blob DATASTORE_URL [POLICY_ID]\n";
    return 2;
  }
  try {
    const std::string blob = argc == 2 ? QuorLib::GetDefaultPolicyBlob(argv[1])
                                       : QuorLib::GetPolicyBlobById(argv[2], argv[1]);
    if (blob.empty()) return 1;  // not found is no error
    std::cout.write(blob.data(), static_cast<std::streamsize>(blob.size()));
    std::cout.flush();
  } catch (const std::exception& error) {
    std::cerr << "look_up_blob: " << error.what() << '\n';
    return 2;
  }
  return std::cout ? 0 : 2;
}
