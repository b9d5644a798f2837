// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "support/outcome.h"

#include <cxxabi.h>

#include <cstdlib>
#include <new>
#include <ostream>
#include <stdexcept>
#include <typeinfo>

#include "tavconfigstore/exception.h"
#include "zynctl/exception.h"

namespace QuorTest {
namespace {

using Brisk::Lib::BriskException;
using TavConfigStore::ConfigStoreException;
using ZynCtl::Config::ConfigFileException;

class DerivedStoreException : public ConfigStoreException {
 public:
  DerivedStoreException(std::string message, TavConfigStore::CSErrorCodes code, std::string detail)
      : ConfigStoreException(std::move(message), code), detail_(std::move(detail)) {}
  const std::string& detail() const { return detail_; }

 private:
  std::string detail_;
};

class DerivedFileException : public ConfigFileException {
 public:
  DerivedFileException(const char* message, std::string detail)
      : ConfigFileException(message), detail_(std::move(detail)) {}
  const std::string& detail() const { return detail_; }

 private:
  std::string detail_;
};

const std::shared_ptr<const std::string>& TheAttachment() {
  static const auto attachment = std::make_shared<const std::string>("attachment");
  return attachment;
}

template <typename Exception>
[[noreturn]] void RaiseWithAttachment(Exception exception) {
  exception.set_attachment(TheAttachment());
  throw exception;
}

std::string TypeName(const std::type_info& type) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
  return name ? name.get() : type.name();
}

}  // namespace

void PrintTo(const Outcome& outcome, std::ostream* out) {
  if (outcome.type.empty()) {
    *out << "nothing raised";
    return;
  }
  *out << outcome.type << " \"" << outcome.message << "\" code " << outcome.code << " attachment "
       << outcome.attachment.get() << " detail \"" << outcome.detail << "\"";
}

Outcome Attempt(const std::function<void()>& call) {
  Outcome outcome;
  try {
    call();
  } catch (const std::exception& raised) {
    outcome.type = TypeName(typeid(raised));
    outcome.message = raised.what();
    if (const auto* brisk = dynamic_cast<const BriskException*>(&raised)) {
      outcome.attachment = brisk->attachment();
    }
    if (const auto* store = dynamic_cast<const ConfigStoreException*>(&raised)) {
      outcome.code = store->code();
    }
    if (const auto* derived = dynamic_cast<const DerivedStoreException*>(&raised)) {
      outcome.detail = derived->detail();
    }
    if (const auto* derived = dynamic_cast<const DerivedFileException*>(&raised)) {
      outcome.detail = derived->detail();
    }
  } catch (...) {
    outcome.type = "no std::exception";
  }
  return outcome;
}

std::vector<Failure> AllFailures() {
  return {Failure::kStoreException, Failure::kDerivedStoreException, Failure::kBriskException,
          Failure::kBadAlloc, Failure::kLogicError};
}

std::vector<Failure> AllFileFailures() {
  return {Failure::kFileException,  Failure::kDerivedFileException,
          Failure::kStoreException, Failure::kBriskException,
          Failure::kBadAlloc,       Failure::kLogicError};
}

std::string NameOf(Failure failure) {
  switch (failure) {
    case Failure::kStoreException:
      return "StoreException";
    case Failure::kDerivedStoreException:
      return "DerivedStoreException";
    case Failure::kFileException:
      return "FileException";
    case Failure::kDerivedFileException:
      return "DerivedFileException";
    case Failure::kBriskException:
      return "BriskException";
    case Failure::kBadAlloc:
      return "BadAlloc";
    case Failure::kLogicError:
      return "LogicError";
  }
  return "unknown";
}

bool IsStoreFailure(Failure failure) {
  return failure == Failure::kStoreException || failure == Failure::kDerivedStoreException;
}

bool IsFileFailure(Failure failure) {
  return failure == Failure::kFileException || failure == Failure::kDerivedFileException;
}

void Raise(Failure failure) {
  switch (failure) {
    case Failure::kStoreException:
      RaiseWithAttachment(ConfigStoreException("the disk is full", TavConfigStore::kNoSpace));
    case Failure::kDerivedStoreException:
      RaiseWithAttachment(
          DerivedStoreException("the link is down", TavConfigStore::kIoError, "port 7"));
    case Failure::kFileException:
      RaiseWithAttachment(ConfigFileException("the file does not parse"));
    case Failure::kDerivedFileException:
      RaiseWithAttachment(DerivedFileException("the file is gone", "line 7"));
    case Failure::kBriskException:
      RaiseWithAttachment(BriskException("a service is gone"));
    case Failure::kBadAlloc:
      throw std::bad_alloc();
    case Failure::kLogicError:
      break;
  }
  throw std::logic_error("a call out of order");
}

Outcome Unchanged(Failure failure) {
  return Attempt([failure] { Raise(failure); });
}

Outcome CopyOf(Failure failure) {
  Outcome copy = Unchanged(failure);
  copy.type = "TavConfigStore::ConfigStoreException";
  copy.detail.clear();
  return copy;
}

long AttachmentOwners() {
  return TheAttachment().use_count() - 1;
}

}  // namespace QuorTest
