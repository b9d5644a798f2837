// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// libquor: the host's catalogue of storage policies and of the datastores that use them.
//
// A manager replaces the whole catalogue with AddPolicyInfo() and AddDatastoreInfo(); storage
// daemons ask for the policy blob that applies; GetDbHash() tells whether the catalogue changed.
//
//   TavQuor::QuorLib::AddPolicyInfo(policies);           // replaces all policies, durably
//   std::string blob = TavQuor::QuorLib::GetPolicyBlobById("gold-01", "ds:///volumes/a1/");
//
// Where the records live. Each call reads one host-wide feature switch, once, and uses the host
// configuration store (switch set) or the host configuration file (switch clear) for the whole
// call. Nothing is copied between the two when the switch is flipped.
//
// Not found. A lookup that finds nothing answers the empty string, a listing the empty vector. An
// empty URL is never found. An empty identifier, name or namespace is never found in the
// configuration store; in the configuration file the record that has it is found.
//
// Exceptions. The configuration store raises TavConfigStore::ConfigStoreException, the
// configuration file ZynCtl::Config::ConfigFileException. Both derive from std::exception, and
// what() names the file, the reason and the remedy. The library raises two texts of its own as
// ConfigFileException: "Unable to Decode string" for a blob in the file that is not Base64, "Unable
// to Encode string" when memory runs out while a blob is encoded. A failed replacement leaves the
// catalogue as it was, except where the message says that the new catalogue is in place and only
// its durability is unknown, because the directory could not be flushed. A process that has read a
// catalogue raises while its file is missing, instead of finding nothing.
//
// Memory. A call that runs out of memory raises std::bad_alloc, with three exceptions:
// - GetDbHash() ends the process (std::terminate) when memory runs out for the formatted text of a
//   record: a policy's name, identifier, description and generation number, or a datastore's three
//   fields.
// - Base64 in the configuration file: AddPolicyInfo() raises "Unable to Encode string", lookups
//   raise "Unable to Decode string", ListPolicyInfo() and GetDbHash() leave the policy out.
// - Loading the library ends the process when memory runs out for its constant strings.
//
// Damage. A lookup raises when it meets a damaged record, also on its way to another record.
// Listings and digests leave damaged records out.
//
// Waiting. A replacement waits for other writers of the host, at most 30 seconds or the
// milliseconds in QUOR_LOCK_TIMEOUT_MS, and raises after that. Readers of the configuration store
// take no lock. Readers of the configuration file take the writers' lock if they have permission to
// write.
//
// Threads. Every function may be called from any number of threads at once, also from exit handlers
// and from threads that outlive main(). The library starts no thread, installs no signal handler,
// prints nothing and preserves errno.
//
// Fork. A process may fork at any moment, also in a signal handler or while another thread is
// inside a call. The child may call every function, unless the handler interrupted the allocator.
//
// Durability. A replacement that returned survives a crash of the process and a loss of power.
//
// Consistency. A read sees the catalogue before a replacement or after it, never a mixture. Every
// call that begins after a replacement returned sees it, in every process of the host. A file put
// in place by other means (a restored backup, a swapped directory) is seen within 10 ms. A call
// that reads more than once says so: the catalogue may be replaced between two of its reads.
//
// Lengths. All strings are byte strings: any byte, NUL included, any length; compared byte for
// byte, never folded, trimmed or normalised.
#ifndef QUOR_QUOR_LIB_H_
#define QUOR_QUOR_LIB_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// Strings and vectors cross the interface as the GNU C++ library lays them out by default. A
// symbol's name tells its arguments and not its result, so that other layouts would link, and
// crash.
#if !defined(__GLIBCXX__)
#error \
    "libquor passes strings and vectors of the GNU C++ library; build this program with libstdc++ (clang: without -stdlib=libc++)"
#elif defined(_GLIBCXX_DEBUG)
#error \
    "libquor passes std::vector across its interface as it is without debug mode; build this program without -D_GLIBCXX_DEBUG (-D_GLIBCXX_ASSERTIONS checks indices too)"
#elif !_GLIBCXX_USE_CXX11_ABI
#error \
    "libquor passes std::string across its interface in the C++11 ABI; build this program without -D_GLIBCXX_USE_CXX11_ABI=0"
#endif

// Visible to programs, where everything else of the library is hidden.
#define QUOR_API __attribute__((visibility("default")))

namespace TavQuor {

// One storage policy.
struct QuorPolicyInfo {
  // The policy's blobs as (blob, namespace) pairs: the opaque blob first, then the storage
  // namespace that it applies to.
  std::vector<std::pair<std::string, std::string>> blobs;
  std::string name;         // display name
  std::string policyId;     // identifier
  std::string description;  // free text
  // Counts the changes of the policy. The configuration file returns only the low 32 bits, as a
  // signed number; the configuration store keeps all 64.
  std::int64_t generationNumber = 0;
};

// One datastore.
struct QuorDatastoreInfo {
  std::string url;                 // the key by which it is stored and looked up
  std::string datastoreNamespace;  // its storage namespace
  std::string defaultPolicyId;     // identifier of its default policy; empty when it has none
};

// The library's entry points. Callers own every argument and every result; nothing is kept after a
// call returns.
class QUOR_API QuorLib {
 public:
  QuorLib() = delete;

  // Does nothing in either backend. Callers that bracket their use of the library may call it.
  static void Init();

  // Deletes every policy and every datastore. Succeeds on a host without a catalogue.
  //
  // Configuration store: one transaction. Failures to begin or to commit are raised and nothing is
  // changed then; a refused deletion is ignored. Configuration file: two replacements, policies
  // first. Between them, and if the second one fails, readers find datastores without policies.
  static void Reset();

  // Replaces all policies by `policies`; an empty vector deletes them all. Datastores are
  // untouched.
  //
  // The name is the key in the configuration store: the last of several policies with one name is
  // stored, and likewise the last of several blobs with one namespace; blobs without a namespace
  // are dropped. The configuration file stores everything, and lookups use the first match. No
  // other field is checked; empty strings are stored.
  static void AddPolicyInfo(const std::vector<QuorPolicyInfo>& policies);

  // Replaces all datastores by `datastores`; an empty vector deletes them all. Policies are
  // untouched. The URL is the key in the configuration store: the last of several datastores with
  // one URL is stored. The configuration file stores all, and lookups use the first.
  static void AddDatastoreInfo(const std::vector<QuorDatastoreInfo>& datastores);

  // All datastores, in the order of their first write. Unreadable records are left out; a store
  // that cannot be opened or enumerated is raised. A record without one of its fields is listed
  // with that field empty by the configuration store, and left out by the configuration file.
  static std::vector<QuorDatastoreInfo> ListDatastoreInfo();

  // All policies, as ListDatastoreInfo() lists datastores. A policy without a generation number is
  // listed by the configuration store with that of the policy before it.
  static std::vector<QuorPolicyInfo> ListPolicyInfo();

  // The blob of the policy `policyId` for the namespace "RILK". Empty when there is no such policy
  // or it has no such blob. The configuration file scans its policies in every lookup; the
  // configuration store uses an index where the host's platform offers one, and scans otherwise.
  static std::string GetRilkPolicyBlobById(const std::string& policyId);

  // The blob of the policy named `policyName` for the namespace "RILK". Empty when there is no
  // such policy or it has no such blob.
  static std::string GetRilkPolicyBlobByName(const std::string& policyName);

  // The blob of the default policy of the datastore `datastoreUrl`, for that datastore's
  // namespace. Empty when the datastore is unknown, has no default policy, or its default policy
  // has no blob for the namespace. Reads three times: if another process replaces the catalogue
  // between two reads, the answer may be empty or from the newer catalogue.
  static std::string GetDefaultPolicyBlob(const std::string& datastoreUrl);

  // The blob of the policy `policyId` for the namespace of the datastore `datastoreUrl`. An
  // unknown datastore has the empty namespace, for which the configuration store has no blob. Reads
  // twice, as GetDefaultPolicyBlob() does.
  static std::string GetPolicyBlobById(const std::string& policyId,
                                       const std::string& datastoreUrl);

  // Digests of all policies (first) and of all datastores (second); the policies are read first. A
  // digest is 32 lower-case hexadecimal digits (MD5), or empty when there is nothing to digest. It
  // does not depend on the order of the records if policy identifiers, the namespaces of one
  // policy, and URLs are unique.
  //
  // Digests detect changes, not forgery. Some changes do not show: fields are joined without a
  // separator; name, identifier and description end at their first NUL; a datastore with three
  // empty fields adds nothing. The process ends (std::terminate) when memory runs out for the text
  // of a record (see "Memory" above), or when a policy's name, identifier and description exceed 2
  // GiB together.
  static std::pair<std::string, std::string> GetDbHash();
};

}  // namespace TavQuor

#endif  // QUOR_QUOR_LIB_H_
