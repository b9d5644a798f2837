// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Blobs in the configuration file: Base64 text.
#ifndef SRC_CONFIGFILE_BLOB_CODEC_H_
#define SRC_CONFIGFILE_BLOB_CODEC_H_

#include <string>

namespace TavQuor::ConfigFileBackend {

// Raises ConfigFileException, "Unable to Encode string", when memory is short.
std::string EncodeBlob(const std::string& blob);

// Raises ConfigFileException, "Unable to Decode string", when the text, up to its first NUL, is not
// Base64.
std::string DecodeBlob(const std::string& text);

}  // namespace TavQuor::ConfigFileBackend

#endif  // SRC_CONFIGFILE_BLOB_CODEC_H_
