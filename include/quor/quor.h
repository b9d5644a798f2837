/* SPDX-FileCopyrightText: 2026 libquor developers
 * SPDX-License-Identifier: Apache-2.0 */

/** \file
 * libquorc: libquor for C, and for languages that call C.
 *
 *   quor_bytes blob;
 *   quor_error* error;
 *   if (quor_default_blob("ds:///volumes/a1/", QUOR_TERMINATED, &blob, &error) == QUOR_OK) {
 *     fwrite(blob.data, 1, blob.length, stdout);
 *   } else {
 *     fprintf(stderr, "%s\n", quor_error_message(error));
 *   }
 *   quor_bytes_free(&blob);
 *   quor_error_free(error);
 *
 * Each function corresponds to one of quor/quor_lib.h (libquor(3)) and follows its rules: selection
 * of the host store, threads, fork, waiting, durability, consistency, order of listings. The header
 * compiles as C89, as later C and as C++.
 *
 * Status. Every function that can fail returns a quor_status. Not found is QUOR_OK with length 0.
 *
 * Errors. On success a function stores NULL in `error`, on failure an object for quor_error_free().
 * A NULL `error` is allowed if the status is enough.
 *
 * Results. A result is valid after success and failure, and empty after failure, so that it can
 * always be freed, once.
 *
 * Bytes. Arguments are a pointer and a length, with any bytes, NUL included. QUOR_TERMINATED as
 * length means a string that ends at its NUL. A null pointer with length 0 is the empty string.
 * Results have a NUL after their last byte, which is not counted.
 *
 * Memory. A function returns QUOR_NO_MEMORY when memory runs out, and never raises a C++ exception.
 * libquor itself ends the process in two cases: in quor_digests_get() and quor_changes_digests(),
 * when memory runs out for the text of one record; and while it is loaded.
 *
 * Kinds of failure. They are derived from libquor's messages; an unknown message (of a host's own
 * platform) is QUOR_STORE or QUOR_FILE.
 */
#ifndef QUOR_QUOR_H_
#define QUOR_QUOR_H_

#include <stddef.h>
#include <stdint.h>

/* NOLINTBEGIN(modernize-use-using): C has typedef alone. */
#ifdef __cplusplus
extern "C" {
#endif

/** Visible to programs. */
#define QUOR_C_API __attribute__((visibility("default")))

/** A length: the string ends at its NUL. */
#define QUOR_TERMINATED SIZE_MAX

/** Result of a call. New kinds are added at the end. */
typedef enum quor_status {
  QUOR_OK = 0,         /**< success; a result that was not found has length 0 */
  QUOR_STORE = 1,      /**< another failure of the configuration store */
  QUOR_FILE = 2,       /**< another failure of the configuration file */
  QUOR_BUSY = 3,       /**< the lock was not free within the deadline */
  QUOR_PERMISSION = 4, /**< missing permission, or another user could have planted the file */
  QUOR_CORRUPT = 5,    /**< stored data is damaged, or a hand-edited file has a mistake */
  QUOR_NO_SPACE = 6,   /**< the disk, a quota or the store's 4 GiB is full */
  QUOR_NO_MEMORY = 7,  /**< the process is out of memory */
  QUOR_USAGE = 8,      /**< invalid argument */
  QUOR_SYSTEM = 9      /**< the system refused an operation outside of the stores */
} quor_status;

/** Why a call failed. */
typedef struct quor_error quor_error;

/** The status that the call returned; QUOR_OK for NULL. */
QUOR_C_API quor_status quor_error_kind(const quor_error* error);

/** Message with the file, the reason and the remedy. "" for NULL. */
QUOR_C_API const char* quor_error_message(const quor_error* error);

/** The file that the message names; "" if it names none, and for NULL. */
QUOR_C_API const char* quor_error_file(const quor_error* error);

/** Frees an error; NULL is allowed. */
QUOR_C_API void quor_error_free(quor_error* error);

/** Name of the kind, as "busy"; never NULL. */
QUOR_C_API const char* quor_status_text(quor_status status);

/** Bytes owned by the caller. The struct may be copied; only one copy is freed. */
typedef struct quor_bytes {
  const char* data; /**< never NULL after a call */
  size_t length;    /**< without the NUL after the last byte */
  size_t reserved;  /**< private */
} quor_bytes;

/** Frees the bytes and sets them to empty. */
QUOR_C_API void quor_bytes_free(quor_bytes* bytes);

/** Bytes owned by a record, valid until the record is changed or its list is freed. */
typedef struct quor_view {
  const char* data; /**< never NULL */
  size_t length;    /**< without the NUL after the last byte */
} quor_view;

/** The blob of the policy of that identifier for the namespace "RILK". */
QUOR_C_API quor_status quor_rilk_blob_by_id(const char* policy_id, size_t length, quor_bytes* blob,
                                            quor_error** error);

/** The blob of the policy of that name for the namespace "RILK". */
QUOR_C_API quor_status quor_rilk_blob_by_name(const char* name, size_t length, quor_bytes* blob,
                                              quor_error** error);

/** The blob of the datastore's default policy, for the datastore's namespace. */
QUOR_C_API quor_status quor_default_blob(const char* url, size_t length, quor_bytes* blob,
                                         quor_error** error);

/** The blob of the policy of that identifier, for the datastore's namespace. */
QUOR_C_API quor_status quor_blob_by_id(const char* policy_id, size_t policy_id_length,
                                       const char* url, size_t url_length, quor_bytes* blob,
                                       quor_error** error);

/** Two digests of 32 lower-case hexadecimal digits, or "" if there is nothing to digest. */
typedef struct quor_digests {
  char policies[40];   /**< of all policies, ended by a NUL */
  char datastores[40]; /**< of all datastores, ended by a NUL */
} quor_digests;

/** Reads and digests the whole catalogue. */
QUOR_C_API quor_status quor_digests_get(quor_digests* digests, quor_error** error);

/** Deletes every policy and every datastore. */
QUOR_C_API quor_status quor_reset(quor_error** error);

/** A policy in a list. */
typedef struct quor_policy quor_policy;

/** The policy's identifier. */
QUOR_C_API quor_view quor_policy_id(const quor_policy* policy);
/** The policy's display name. */
QUOR_C_API quor_view quor_policy_name(const quor_policy* policy);
/** The policy's description. */
QUOR_C_API quor_view quor_policy_description(const quor_policy* policy);
/** Counts the changes of the policy. */
QUOR_C_API int64_t quor_policy_generation(const quor_policy* policy);
/** Number of blobs of the policy. */
QUOR_C_API size_t quor_policy_blob_count(const quor_policy* policy);
/** The blob with that index, from 0; empty beyond the last. */
QUOR_C_API quor_view quor_policy_blob(const quor_policy* policy, size_t index);
/** The storage namespace of the blob with that index. */
QUOR_C_API quor_view quor_policy_blob_namespace(const quor_policy* policy, size_t index);

/** Sets the identifier. Like the setters below it returns QUOR_OK, QUOR_NO_MEMORY, or QUOR_USAGE
   for a null pointer, such as a record for which there was no memory. */
QUOR_C_API quor_status quor_policy_set_id(quor_policy* policy, const char* data, size_t length);
/** Sets the display name. */
QUOR_C_API quor_status quor_policy_set_name(quor_policy* policy, const char* data, size_t length);
/** Sets the description. */
QUOR_C_API quor_status quor_policy_set_description(quor_policy* policy, const char* data,
                                                   size_t length);
/** Sets the generation number. */
QUOR_C_API void quor_policy_set_generation(quor_policy* policy, int64_t generation);
/** Appends a blob. */
QUOR_C_API quor_status quor_policy_add_blob(quor_policy* policy, const char* storage_namespace,
                                            size_t namespace_length, const char* blob,
                                            size_t blob_length);

/** A list of policies, read from the catalogue or made by the caller to replace it. */
typedef struct quor_policies quor_policies;

/** Makes an empty list; NULL when memory runs out. */
QUOR_C_API quor_policies* quor_policies_new(void);
/** Frees the list with its policies; NULL is allowed. */
QUOR_C_API void quor_policies_free(quor_policies* list);
/** Number of policies; 0 for NULL. */
QUOR_C_API size_t quor_policies_count(const quor_policies* list);
/** The policy with that index, from 0, valid until one is added; NULL beyond the last. */
QUOR_C_API quor_policy* quor_policies_at(const quor_policies* list, size_t index);
/** Appends an empty policy; NULL when memory runs out, and for a NULL list. */
QUOR_C_API quor_policy* quor_policies_add(quor_policies* list);

/** All policies, in the order of the store. */
QUOR_C_API quor_status quor_policies_list(quor_policies** list, quor_error** error);
/** Replaces all policies, durably; an empty list or NULL deletes them all. */
QUOR_C_API quor_status quor_policies_replace(const quor_policies* list, quor_error** error);

/** A datastore in a list. */
typedef struct quor_datastore quor_datastore;

/** The URL by which it is stored and looked up. */
QUOR_C_API quor_view quor_datastore_url(const quor_datastore* datastore);
/** Its storage namespace. */
QUOR_C_API quor_view quor_datastore_namespace(const quor_datastore* datastore);
/** The identifier of its default policy; empty when it has none. */
QUOR_C_API quor_view quor_datastore_default_policy(const quor_datastore* datastore);

/** Sets the URL. Returns like quor_policy_set_id(). */
QUOR_C_API quor_status quor_datastore_set_url(quor_datastore* datastore, const char* data,
                                              size_t length);
/** Sets the storage namespace. */
QUOR_C_API quor_status quor_datastore_set_namespace(quor_datastore* datastore, const char* data,
                                                    size_t length);
/** Sets the identifier of the default policy. */
QUOR_C_API quor_status quor_datastore_set_default_policy(quor_datastore* datastore,
                                                         const char* data, size_t length);

/** A list of datastores. */
typedef struct quor_datastores quor_datastores;

/** Makes an empty list; NULL when memory runs out. */
QUOR_C_API quor_datastores* quor_datastores_new(void);
/** Frees the list with its datastores; NULL is allowed. */
QUOR_C_API void quor_datastores_free(quor_datastores* list);
/** Number of datastores; 0 for NULL. */
QUOR_C_API size_t quor_datastores_count(const quor_datastores* list);
/** The datastore with that index, from 0, valid until one is added; NULL beyond the last. */
QUOR_C_API quor_datastore* quor_datastores_at(const quor_datastores* list, size_t index);
/** Appends an empty datastore; NULL when memory runs out, and for a NULL list. */
QUOR_C_API quor_datastore* quor_datastores_add(quor_datastores* list);

/** All datastores, in the order of the store. */
QUOR_C_API quor_status quor_datastores_list(quor_datastores** list, quor_error** error);
/** Replaces all datastores, durably; an empty list or NULL deletes them all. */
QUOR_C_API quor_status quor_datastores_replace(const quor_datastores* list, quor_error** error);

/** Token of one state of the catalogue, made without reading it. For comparison only. */
typedef struct quor_revision {
  uint64_t opaque[24]; /**< private */
} quor_revision;

/** Makes a token from the status of the catalogue's files: some system calls, no reading. */
QUOR_C_API quor_status quor_revision_get(quor_revision* revision, quor_error** error);

/** 1 if nothing changed between the two tokens; 0 if something may have changed. A token made
   within 100 ms after a change (2 s where files keep whole seconds) equals no other one, since
   another change might not show. */
QUOR_C_API int quor_revision_equal(const quor_revision* one, const quor_revision* other);

/** Reports changes to an event loop: epoll, sd-event, libuv, poll. Starts no thread and writes
   nothing. Used by one thread at a time. A forked child may only close its copy by
   quor_changes_close(); reading it is QUOR_USAGE there. */
typedef struct quor_changes quor_changes;

#define QUOR_CHANGED_STORE 1U     /**< the configuration store's file */
#define QUOR_CHANGED_FILE 2U      /**< the configuration file */
#define QUOR_CHANGED_SWITCH 4U    /**< the switches, one of which selects the store */
#define QUOR_CHANGED_DIRECTORY 8U /**< the host directory was swapped */
#define QUOR_CHANGED_LOST 16U     /**< events were lost: everything may have changed */

/** Starts watching `directory`, an absolute path, or this process's host directory for NULL. The
    directory need not exist yet. */
QUOR_C_API quor_status quor_changes_open(const char* directory, quor_changes** changes,
                                         quor_error** error);

/** Stops watching and closes the descriptor; NULL is allowed. */
QUOR_C_API void quor_changes_close(quor_changes* changes);

/** The descriptor, which becomes readable when the catalogue may have changed. Owned by `changes`
   and constant during its life. -1 for NULL. */
QUOR_C_API int quor_changes_descriptor(const quor_changes* changes);

/** Stores the QUOR_CHANGED_ bits of possible changes since the last call, 0 for a spurious wake-up,
   and makes the descriptor unreadable until the next change. Never blocks. A commit makes it
   readable once; changes by hand, and the first commit of a host, a few times, and once more within
   some seconds after the last one. After a failure it becomes readable within a second, and
   everything may have changed. Lookups may miss a file that was put in place by hand for 10 ms. */
QUOR_C_API quor_status quor_changes_read(quor_changes* changes, unsigned* changed,
                                         quor_error** error);

/** Reason for which a timer behind the same descriptor checks for changes once a second: a limit of
    inotify, missing permission, a file system that other hosts change. "" while the system
   notifies, and for NULL. The timer ends with its reason. Valid until the next quor_changes_read().
 */
QUOR_C_API const char* quor_changes_fallback(const quor_changes* changes);

#define QUOR_DIFFERENT_POLICIES 1U   /**< the digest of the policies is another one */
#define QUOR_DIFFERENT_DATASTORES 2U /**< the digest of the datastores is another one */

/** Reads and digests the catalogue, and stores the bits of the digests that differ from the last
   call; 0 in the first call. */
QUOR_C_API quor_status quor_changes_digests(quor_changes* changes, unsigned* which,
                                            quor_error** error);

#ifdef __cplusplus
}
#endif
/* NOLINTEND(modernize-use-using) */

#endif /* QUOR_QUOR_H_ */
