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
// Not found is never an error: a lookup answers the empty string, a listing an empty vector. An
// empty URL is never found, nor is an empty identifier, name or namespace in the configuration
// store; the configuration file finds the record that has it.
//
// Exceptions. Failures of the configuration store arrive as TavConfigStore::ConfigStoreException,
// those of the configuration file as ZynCtl::Config::ConfigFileException; both derive from
// std::exception and what() names the file, the reason and what to do. The library has two texts of
// its own, both as ConfigFileException: "Unable to Decode string" for a blob in the file that is no
// Base64, and "Unable to Encode string" when memory ran out while one was encoded. After a failed
// replacement the catalogue is as it was before, with one exception that the message states: when
// the new catalogue is in place but the directory could not be flushed, its durability is unknown.
//
// Memory. Where it runs out a call raises std::bad_alloc, with three exceptions:
// - GetDbHash() ends the process (std::terminate) when there is none for the text that the host
//   formats of one record: of a policy's name, identifier, description and generation number, or of
//   a datastore's three fields. All else in it, blobs and digests included, raises std::bad_alloc.
// - Base64 of the configuration file reports it as a failure: "Unable to Encode string" from
//   AddPolicyInfo(), "Unable to Decode string" from lookups; ListPolicyInfo() and GetDbHash() leave
//   the policy out.
// - Loading the library ends the process when there is none for its constant strings.
//
// Damage. A lookup raises a damaged record that it meets, also on the way to another one; listings
// and digests leave it out.
//
// Waiting. A replacement waits for the host's other writers, for up to 30 seconds or as many
// milliseconds as QUOR_LOCK_TIMEOUT_MS says, and is raised then. Reading the configuration store
// waits for nobody; a reader of the configuration file who may also write it takes turns like a
// writer.
//
// Threads. Every function may be called from any number of threads at once. None starts a thread,
// installs a signal handler or prints anything. errno is left as it was. Calls may come until the
// process is gone: from exit handlers, and from threads that still run then.
//
// Fork. Safe at any moment but in a signal handler; a child may call every function, also when a
// thread of the parent was inside one.
//
// Durability. A replacement that returned survives a crash of the process and a loss of power.
// A read sees the catalogue before a replacement or after it, never a mixture. A call that reads
// more than once says so: others may replace the catalogue between two of its reads.
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
  // Counts the changes of the policy. The configuration store keeps all 64 bits; from the
  // configuration file comes back what a signed 32-bit number keeps of it, the number modulo 2^32.
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

  // Does nothing in either backend and need not be called. Kept for callers that bracket their
  // use of the library.
  static void Init();

  // Deletes every policy and every datastore. Succeeds on a host where nothing was ever stored.
  //
  // Configuration store: one transaction; a store that refuses a deletion still commits, so only
  // a failure to begin or to commit is raised, and nothing is changed then. Configuration file: two
  // replacements, policies first. Between them a reader finds datastores without policies, and so
  // it stays when the second one fails.
  static void Reset();

  // Replaces all policies by `policies`; an empty vector deletes them all. Datastores are left as
  // they are.
  //
  // In the configuration store a policy is kept under its name: of two records with one name the
  // later one stays. A pair whose namespace is empty is not stored; of two pairs with one
  // namespace the later one stays. The configuration file keeps all of them, and lookups take the
  // first policy that matches. No other field is tested; empty strings are stored.
  static void AddPolicyInfo(const std::vector<QuorPolicyInfo>& policies);

  // Replaces all datastores by `datastores`; an empty vector deletes them all. Policies are left
  // as they are. In the configuration store a datastore is kept under its URL: of two records with
  // one URL the later one stays. The configuration file keeps both, and lookups take the first.
  static void AddDatastoreInfo(const std::vector<QuorDatastoreInfo>& datastores);

  // All datastores, in the order in which the store lists them (that of their first write). A
  // record that cannot be read, a damaged one say, is left out; a store that cannot be opened or
  // enumerated is raised. A record that lacks a field is listed without it from the configuration
  // store, and left out from the configuration file.
  static std::vector<QuorDatastoreInfo> ListDatastoreInfo();

  // All policies, in the order in which the store lists them (that of their first write). A record
  // that cannot be read, a damaged one say, is left out; a store that cannot be opened or
  // enumerated is raised. A record that lacks a field is listed without it from the configuration
  // store, where one without a generation number shows that of the policy listed before it, and
  // left out from the configuration file.
  static std::vector<QuorPolicyInfo> ListPolicyInfo();

  // The blob of the policy `policyId` for the namespace "RILK". Empty when there is no such policy
  // or it has no such blob. Costs a scan of the policies, as every search in the configuration file
  // does; in the configuration store GetRilkPolicyBlobByName() is one access.
  static std::string GetRilkPolicyBlobById(const std::string& policyId);

  // The blob of the policy named `policyName` for the namespace "RILK". Empty when there is no
  // such policy or it has no such blob.
  static std::string GetRilkPolicyBlobByName(const std::string& policyName);

  // The blob of the default policy of the datastore `datastoreUrl`, for that datastore's
  // namespace. Empty when the datastore is unknown, has no default policy, or its default policy
  // has no blob for the namespace. Reads three times: a replacement by another process between two
  // reads can make the answer empty or of the newer catalogue.
  static std::string GetDefaultPolicyBlob(const std::string& datastoreUrl);

  // The blob of the policy `policyId` for the namespace of the datastore `datastoreUrl`. An
  // unknown datastore has the empty namespace, for which the configuration store has no blob. Reads
  // twice, as GetDefaultPolicyBlob() does.
  static std::string GetPolicyBlobById(const std::string& policyId,
                                       const std::string& datastoreUrl);

  // Digests of all policies (first) and of all datastores (second), in that order and read one
  // after the other. Each is 32 lower-case hexadecimal digits (MD5), or empty when there is
  // nothing to digest. Independent of the order in which the records are stored as long as policy
  // identifiers, the namespaces of one policy, and URLs are unique.
  //
  // For telling change, not for telling forgery, and a few changes do not show: fields are joined
  // without a mark between them, name, identifier and description end at their first NUL, and a
  // datastore whose fields are all empty adds nothing. Memory that runs out while the text of a
  // record is formatted ends the process (see "Memory" above), and so does a policy whose name,
  // identifier and description take 2 GiB together.
  static std::pair<std::string, std::string> GetDbHash();
};

}  // namespace TavQuor

#endif  // QUOR_QUOR_LIB_H_
