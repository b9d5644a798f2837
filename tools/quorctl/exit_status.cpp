// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "exit_status.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <new>
#include <system_error>

#include "brisk/exception.h"
#include "catalogue/document_error.h"
#include "platform/admin.h"

namespace Quorctl {

using Brisk::Lib::BriskException;

const std::array<ExitStatusMeaning, 11> kExitStatusMeanings = {{
    {ExitStatus::kDone, "done"},
    {ExitStatus::kNo, "the answer is \"no\""},
    {ExitStatus::kUsage, "the command line is wrong"},
    {ExitStatus::kAbsent, "the named thing is absent"},
    {ExitStatus::kBadInput, "the input document cannot be read or is wrong"},
    {ExitStatus::kStore,
     "the store cannot be reached, is damaged or stayed locked,\n"
     "or standard output cannot be written"},
    {ExitStatus::kNoHost, "there is no such host directory"},
    {ExitStatus::kPermission, "permission denied"},
    {ExitStatus::kNotConfirmed, "not confirmed, nothing was changed"},
    {ExitStatus::kMoved,
     "the catalogue is not the one that the change is based on,\n"
     "nothing was changed"},
    {ExitStatus::kInternal, "internal error"},
}};

namespace {

ExitStatus StatusOf(const BriskException& failure) {
  const bool denied = HostPlatform::IsPermissionFailure(failure);
  return denied ? ExitStatus::kPermission : ExitStatus::kStore;
}

ExitStatus StatusOf(const std::system_error& failure) {
  const bool denied = failure.code() == std::errc::permission_denied ||
                      failure.code() == std::errc::operation_not_permitted;
  return denied ? ExitStatus::kPermission : ExitStatus::kStore;
}

// Told with a refusal, for the refusal itself names a path alone.
std::string WhoMay() {
  if (geteuid() == 0) return "";
  struct stat host = {};
  std::string owner;
  std::string group = "quor";
  if (stat(HostPlatform::HostDirectory().c_str(), &host) == 0) {
    const passwd* const user = host.st_uid == 0 ? nullptr : getpwuid(host.st_uid);
    if (user) owner = std::string(" and ") + user->pw_name;
    const ::group* const entry = host.st_gid == 0 ? nullptr : getgrgid(host.st_gid);
    if (entry) group = entry->gr_name;
  }
  return "; root" + owner + " may change the catalogue, the group " + group + " may read it";
}

Failure Describe() {
  try {
    throw;
  } catch (const CommandError& failure) {
    return {failure.status(), failure.what(), {}};
  } catch (const DocumentError& failure) {
    return {ExitStatus::kBadInput, failure.what(), failure.others};
  } catch (const BriskException& failure) {
    return {StatusOf(failure), failure.what(), {}};
  } catch (const std::system_error& failure) {
    return {StatusOf(failure), failure.what(), {}};
  } catch (const std::bad_alloc&) {
    return {ExitStatus::kInternal, "out of memory", {}};
  } catch (const std::exception& failure) {
    return {ExitStatus::kInternal, std::string("internal error: ") + failure.what(), {}};
  } catch (...) {
    return {ExitStatus::kInternal, "internal error of an unknown kind", {}};
  }
}

}  // namespace

Failure DescribeCurrentException() {
  Failure failure = Describe();
  if (failure.status == ExitStatus::kPermission) failure.message += WhoMay();
  return failure;
}

}  // namespace Quorctl
