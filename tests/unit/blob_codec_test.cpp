// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Blobs as Base64 text, and its failures.
#include "configfile/blob_codec.h"

#include "support/file_catalogue.h"
#include "support/fixture.h"

namespace QuorTest {
namespace {

using TavQuor::ConfigFileBackend::DecodeBlob;
using TavQuor::ConfigFileBackend::EncodeBlob;

class BlobCodec : public RecordingTest {
 protected:
  static void ExpectUnableToDecode(const std::string& text) {
    SCOPED_TRACE(Recording::Quoted(text));
    const Outcome outcome = Attempt([&text] { DecodeBlob(text); });
    EXPECT_EQ(outcome.type, "ZynCtl::Config::ConfigFileException");
    EXPECT_EQ(outcome.message, "Unable to Decode string");
    EXPECT_EQ(outcome.attachment, nullptr);
  }
};

TEST_F(BlobCodec, TextIsThatOfThePlatform) {
  EXPECT_EQ(EncodeBlob("Man"), "TWFu");
  EXPECT_EQ(EncodeBlob("Ma"), "TWE=");
  EXPECT_EQ(EncodeBlob("M"), "TQ==");
  EXPECT_EQ(EncodeBlob("\xfb\xff\xfe"), "+//+");
  EXPECT_EQ(DecodeBlob("TWFu"), "Man");
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   R"(Base64_EasyEncode "Man")",
                                   R"(Base64_EasyEncode "Ma")",
                                   R"(Base64_EasyEncode "M")",
                                   R"(Base64_EasyEncode "\xfb\xff\xfe")",
                                   R"(Base64_EasyDecode "TWFu")",
                               }));
}

TEST_F(BlobCodec, EmptyBlobIsEmptyTextAndBothGoThroughThePlatform) {
  EXPECT_EQ(EncodeBlob(""), "");
  EXPECT_EQ(DecodeBlob(""), "");
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   R"(Base64_EasyEncode "")",
                                   R"(Base64_EasyDecode "")",
                               }));
}

TEST_F(BlobCodec, BlobWithZeroBytesComesBackWithItsLengthAndBytes) {
  const std::string blob("\0a\0\0b\0", 6);
  EXPECT_EQ(EncodeBlob(blob), "AGEAAGIA");
  EXPECT_EQ(DecodeBlob("AGEAAGIA"), blob);
  EXPECT_EQ(DecodeBlob("AAAA"), std::string(3, '\0'));
}

TEST_F(BlobCodec, EveryByteAndEveryLengthComesBack) {
  std::string blob;
  for (int length = 0; length <= 512; ++length) {
    const std::string text = EncodeBlob(blob);
    EXPECT_EQ(text, ReferenceBase64(blob)) << length;
    EXPECT_EQ(DecodeBlob(text), blob) << length;
    blob += static_cast<char>(length * 37);
  }
}

TEST_F(BlobCodec, StoredTextIsDecodedUpToItsFirstZeroByte) {
  EXPECT_EQ(DecodeBlob(std::string("TWE=\0TWFu", 9)), "Ma");
  EXPECT_EQ(DecodeBlob(std::string("TWFu\0*", 6)), "Man");
  EXPECT_EQ(DecodeBlob(std::string("\0TWFu", 5)), "");
  ExpectUnableToDecode(std::string("TW\0Fu", 5));
}

TEST_F(BlobCodec, TextThatIsNotBase64IsRefused) {
  for (const char* text : {"T", "TWF", "TWFu=", "TW=u", "====", "TWF*", "TW u", " TWFu", "TWFu\n",
                           "TWFu-_==", "TWFuTW", "\xc3\xa4\xc3\xa4"}) {
    ExpectUnableToDecode(text);
  }
}

TEST_F(BlobCodec, RefusalByThePlatformIsRaisedWithAMessageOfItsOwnInEachDirection) {
  ThePlatform().base64Fails = [](int) { return true; };
  ExpectUnableToDecode("TWFu");
  const Outcome outcome = Attempt([] { EncodeBlob("Man"); });
  EXPECT_EQ(outcome.type, "ZynCtl::Config::ConfigFileException");
  EXPECT_EQ(outcome.message, "Unable to Encode string");
  EXPECT_EQ(outcome.attachment, nullptr);
}

TEST_F(BlobCodec, NeitherDirectionTouchesTheFile) {
  DecodeBlob(EncodeBlob("Man"));
  EXPECT_EQ(ThePlatform().fileCalls, 0);
}

}  // namespace
}  // namespace QuorTest
