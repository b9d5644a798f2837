// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "change_record.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <system_error>
#include <utility>
#include <vector>

#include "history.h"

namespace Quorctl {
namespace {

// True if the catalogue or a full disk is the obstacle, so that the change could work without
// history. Another process, a missing right or an unsafe directory would stop the change as well.
bool HelpsToKeepNothing(const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const CommandError&) {
    return true;
  } catch (const std::system_error& error) {
    const int code = error.code().value();
    return code == ENOSPC || code == EDQUOT || code == EFBIG;
  } catch (...) {
    return false;
  }
}

}  // namespace

ChangeRecord::~ChangeRecord() {
  if (stays_) return;
  for (const std::uint64_t number : {present_, next_}) {
    if (number != 0) RemoveFromHistory(number);
  }
}

void ChangeRecord::KeepPresent(const Catalogue& catalogue, const Digests& digests) {
  Keep("present", [&] { present_ = KeepInHistory(catalogue, digests, inStore_, kFound); });
}

void ChangeRecord::KeepNext(const Catalogue& catalogue, const Digests& digests) {
  Keep("new", [&] { next_ = KeepPending(catalogue, digests, inStore_, verb_); });
}

void ChangeRecord::Keep(const std::string& what, const std::function<void()>& keep) {
  try {
    wait_->Do("keeping the " + what + " catalogue", keep);
  } catch (const WaitEnded&) {
    throw;
  } catch (...) {
    const Failure failure = DescribeCurrentException();
    throw CommandError(
        failure.status,
        "the " + what + " catalogue could not be kept in the history, so nothing was changed: " +
            failure.message +
            (HelpsToKeepNothing(std::current_exception()) ? "; --no-history changes it without"
                                                          : ""));
  }
}

void ChangeRecord::Complete() {
  stays_ = true;
  try {
    EndPending(next_, inStore_);
    if (next_ != 0) TrimHistory();
  } catch (const std::system_error& failure) {
    if (next_ == 0) return;  // the history is not to be relied on
    throw CommandError(ExitStatus::kStore,
                       std::string("the change was made, but the history could not be put in "
                                   "order: ") +
                           failure.what());
  }
}

std::string ChangeRecord::Advice() const {
  if (next_ == 0) return "";
  const std::vector<HistoryEntry> entries = ListHistory();
  const auto newest = std::find_if(entries.begin(), entries.end(),
                                   [this](const auto& entry) { return entry.inStore == inStore_; });
  if (newest == entries.end()) return "";
  const std::string number = std::to_string(newest->number);
  return "; the old catalogue is number " + number + " of the history (\"quorctl restore " +
         number + "\")";
}

}  // namespace Quorctl
