// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "event_log.h"

namespace QuorPublish {

using Quorctl::FieldValue;
using Quorctl::TextValue;

namespace {

const Quorctl::RecordLayout& EventLayout() {
  using Align = Quorctl::Table::Align;
  static const std::vector<std::string> all = {"at",      "author", "action", "release",
                                               "channel", "host",   "detail"};
  static const Quorctl::RecordLayout layout = {{{"at", "AT"},
                                                {"author", "AUTHOR"},
                                                {"action", "ACTION"},
                                                {"release", "RELEASE", Align::kRight},
                                                {"channel", "CHANNEL"},
                                                {"host", "HOST"},
                                                {"detail", "DETAIL"}},
                                               all,
                                               all,
                                               all};
  return layout;
}

}  // namespace

void ShowLog(const CentreOptions& options, int most, const Quorctl::RecordChoices& choices,
             Answer* answer) {
  Quorctl::RecordWriter writer(EventLayout(), choices);
  Centre centre(options, Centre::Use::kRead);
  const QuorFleet::Rows rows = centre.Ask(
      "select to_char(at at time zone 'UTC', 'YYYY-MM-DD\"T\"HH24:MI:SS\"Z\"'), author, action, "
      "release, channel, host, detail from quor.event order by id desc limit $1::integer",
      {std::int64_t{most}});
  const auto text = [&rows](std::size_t row, std::size_t column) {
    return rows.IsNull(row, column) ? Quorctl::NoValue() : TextValue(rows.Text(row, column));
  };
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const FieldValue release =
        rows.IsNull(i, 3) ? Quorctl::NoValue() : Quorctl::NumberValue(rows.Number(i, 3));
    writer.Add({text(i, 0), text(i, 1), text(i, 2), release, text(i, 4), text(i, 5), text(i, 6)});
  }
  answer->text += writer.Text();
}

}  // namespace QuorPublish
