// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What the history takes: only a document that the reader would give back. Both sides of that are
// the test's own here; real catalogues would have to hold millions of values.
#include <gtest/gtest.h>

#include <string>

#include "catalogue/document_error.h"
#include "catalogue/document_reader.h"
#include "catalogue/document_writer.h"
#include "exit_status.h"
#include "history.h"
#include "input_file.h"
#include "platform/admin.h"
#include "support/temporary_directory.h"

namespace Quorctl {
namespace {

bool readable = true;

}  // namespace

void WriteDocument(const Catalogue& /*catalogue*/,
                   const std::function<void(std::string_view)>& write) {
  write("the document");
}

std::string CatalogueAsDocument(const Catalogue& catalogue) {
  std::string text;
  WriteDocument(catalogue, [&text](std::string_view part) { text += part; });
  return text;
}

Catalogue ReadCatalogueDocument(const std::string& /*text*/, const std::string& source) {
  if (!readable) throw DocumentError(source, "", "cannot be read");
  return {};
}

std::string ReadKeptFile(const std::string& path) {
  return PlatformTest::ReadFile(path);
}

namespace {

class HistoryDocument : public testing::Test {
 protected:
  HistoryDocument() { HostPlatform::UseHostDirectory(directory_.PathOf("host")); }
  ~HistoryDocument() override { readable = true; }

  PlatformTest::TemporaryDirectory directory_;
};

TEST_F(HistoryDocument, ThatCannotBeReadAgainIsNotKept) {
  EXPECT_EQ(KeepInHistory({}, {}, true, "apply"), 1U);
  readable = false;
  try {
    KeepInHistory({}, {"another", ""}, true, "apply");
    ADD_FAILURE() << "it was kept";
  } catch (const CommandError& failure) {
    EXPECT_EQ(failure.status(), ExitStatus::kStore);
    EXPECT_STREQ(failure.what(), "its document: cannot be read");
  }
  EXPECT_EQ(ListHistory().size(), 1U);
  EXPECT_EQ(PlatformTest::ReadFile(ListHistory().front().path), "the document");
}

}  // namespace
}  // namespace Quorctl
