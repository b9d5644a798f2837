/* SPDX-FileCopyrightText: 2026 libquor developers
 * SPDX-License-Identifier: Apache-2.0 */

/** \file
 * libquorc: the catalogue of libquor for C, and for whatever calls C.
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
 * Each call is the call of quor/quor_lib.h (libquor(3)) of the same purpose, with its rules: which
 * host store is asked, threads, fork, waiting, durability and the order of listings. It compiles as
 * C89, as any later C and as C++.
 *
 * Status. Every call that can fail returns a quor_status. Not found is QUOR_OK with a length of 0.
 *
 * Errors. A call that takes `error` stores NULL there when it succeeds, and an object to be freed
 * with quor_error_free() when it fails. `error` itself may be NULL: the status is then all there
 * is.
 *
 * Results. What a call stores is valid whether it succeeds or fails, and empty when it fails: the
 * call that frees it may always be made, once.
 *
 * Bytes. Arguments are a pointer and a length: any byte, NUL included. A length of QUOR_TERMINATED
 * means a string that ends at its NUL. A null pointer with length 0 is the empty string. Results
 * have a NUL behind their last byte, which is not counted.
 *
 * Memory. Where it runs out a call returns QUOR_NO_MEMORY; no call raises a C++ exception. In two
 * cases libquor itself ends the process before this library can return: quor_digests_get() and
 * quor_changes_digests(), when there is no memory for the text of one record; and loading it.
 *
 * Kinds of failure. libquor tells them by its messages; a message that is none of its own (a host
 * that brings another platform) is QUOR_STORE or QUOR_FILE.
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

/** What became of a call. New kinds are added at the end. */
typedef enum quor_status {
  QUOR_OK = 0,         /**< done; what was not found has length 0 */
  QUOR_STORE = 1,      /**< the configuration store failed for a reason that is not below */
  QUOR_FILE = 2,       /**< the configuration file failed for a reason that is not below */
  QUOR_BUSY = 3,       /**< other writers kept the lock for the whole deadline */
  QUOR_PERMISSION = 4, /**< this process may not, or another user could have planted the file */
  QUOR_CORRUPT = 5,    /**< what is stored is damaged, or a hand-edited file has a mistake */
  QUOR_NO_SPACE = 6,   /**< the disk, a quota or the store's 4 GiB is full */
  QUOR_NO_MEMORY = 7,  /**< this process has no memory left */
  QUOR_USAGE = 8,      /**< an argument that means nothing */
  QUOR_SYSTEM = 9      /**< the system refused something that no store is involved in */
} quor_status;

/** Why a call failed. */
typedef struct quor_error quor_error;

/** The status that the call returned; QUOR_OK for NULL. */
QUOR_C_API quor_status quor_error_kind(const quor_error* error);

/** For a person: the file, the reason and what to do. "" for NULL. */
QUOR_C_API const char* quor_error_message(const quor_error* error);

/** The file that the message is about; "" where it is about none, and for NULL. */
QUOR_C_API const char* quor_error_file(const quor_error* error);

/** Frees an error; NULL is fine. */
QUOR_C_API void quor_error_free(quor_error* error);

/** The kind in a word or two, "busy": never NULL. */
QUOR_C_API const char* quor_status_text(quor_status status);

/** Bytes that belong to the caller. May be copied as a struct; one of the copies is freed. */
typedef struct quor_bytes {
  const char* data; /**< never NULL after a call */
  size_t length;    /**< without the NUL behind the last byte */
  size_t reserved;  /**< the library's own */
} quor_bytes;

/** Frees the bytes and makes them empty. */
QUOR_C_API void quor_bytes_free(quor_bytes* bytes);

/** Bytes that belong to a record, valid until the record is changed or its list is freed. */
typedef struct quor_view {
  const char* data; /**< never NULL */
  size_t length;    /**< without the NUL behind the last byte */
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

/** The digests: 32 lower-case hexadecimal digits each, or "" when there is nothing to digest. */
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
/** How many blobs the policy has. */
QUOR_C_API size_t quor_policy_blob_count(const quor_policy* policy);
/** The blob at that place, counted from 0; empty where there is none. */
QUOR_C_API quor_view quor_policy_blob(const quor_policy* policy, size_t index);
/** The storage namespace of the blob at that place. */
QUOR_C_API quor_view quor_policy_blob_namespace(const quor_policy* policy, size_t index);

/** Sets the identifier, as the setters below set theirs: QUOR_OK, QUOR_NO_MEMORY, or
    QUOR_USAGE for a null pointer, as a record is that there was no memory for. */
QUOR_C_API quor_status quor_policy_set_id(quor_policy* policy, const char* data, size_t length);
/** Sets the display name. */
QUOR_C_API quor_status quor_policy_set_name(quor_policy* policy, const char* data, size_t length);
/** Sets the description. */
QUOR_C_API quor_status quor_policy_set_description(quor_policy* policy, const char* data,
                                                   size_t length);
/** Sets the generation number. */
QUOR_C_API void quor_policy_set_generation(quor_policy* policy, int64_t generation);
/** Adds a blob behind those that the policy has. */
QUOR_C_API quor_status quor_policy_add_blob(quor_policy* policy, const char* storage_namespace,
                                            size_t namespace_length, const char* blob,
                                            size_t blob_length);

/** A list of policies, by whoever made it: the catalogue's, or one to replace it with. */
typedef struct quor_policies quor_policies;

/** An empty list; NULL when there is no memory. */
QUOR_C_API quor_policies* quor_policies_new(void);
/** Frees the list with its policies; NULL is fine. */
QUOR_C_API void quor_policies_free(quor_policies* list);
/** How many policies it has; 0 for NULL. */
QUOR_C_API size_t quor_policies_count(const quor_policies* list);
/** The policy at that place, counted from 0, valid until one is added; NULL where there is none. */
QUOR_C_API quor_policy* quor_policies_at(const quor_policies* list, size_t index);
/** Adds an empty policy at the end; NULL when there is no memory, or no list. */
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

/** Sets the URL, as the setters below set theirs. */
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

/** An empty list; NULL when there is no memory. */
QUOR_C_API quor_datastores* quor_datastores_new(void);
/** Frees the list with its datastores; NULL is fine. */
QUOR_C_API void quor_datastores_free(quor_datastores* list);
/** How many datastores it has; 0 for NULL. */
QUOR_C_API size_t quor_datastores_count(const quor_datastores* list);
/** The datastore at that place, valid until one is added; NULL where there is none. */
QUOR_C_API quor_datastore* quor_datastores_at(const quor_datastores* list, size_t index);
/** Adds an empty datastore at the end; NULL when there is no memory, or no list. */
QUOR_C_API quor_datastore* quor_datastores_add(quor_datastores* list);

/** All datastores, in the order of the store. */
QUOR_C_API quor_status quor_datastores_list(quor_datastores** list, quor_error** error);
/** Replaces all datastores, durably; an empty list or NULL deletes them all. */
QUOR_C_API quor_status quor_datastores_replace(const quor_datastores* list, quor_error** error);

/** Stands for one state of the catalogue, without having read it. Compared, and nothing else. */
typedef struct quor_revision {
  uint64_t opaque[24]; /**< the library's own */
} quor_revision;

/** Looks at the files that the catalogue depends on: some system calls, no reading, no hashing. */
QUOR_C_API quor_status quor_revision_get(quor_revision* revision, quor_error** error);

/** 1 when nothing has changed between the two; 0 when something may have. A token that was taken
    within 100 ms of a change (2 s where files keep whole seconds) equals no other one: it cannot
    be known whether there was one more change. */
QUOR_C_API int quor_revision_equal(const quor_revision* one, const quor_revision* other);

/** Notices changes for an event loop: epoll, sd-event, libuv, poll. No thread; nothing of the host
    directory is written. One thread at a time uses it. After a fork the child closes its copy, by
    quor_changes_close() alone: reading it is QUOR_USAGE there. */
typedef struct quor_changes quor_changes;

#define QUOR_CHANGED_STORE 1U     /**< the configuration store's file */
#define QUOR_CHANGED_FILE 2U      /**< the configuration file */
#define QUOR_CHANGED_SWITCH 4U    /**< the switches, one of which selects the store */
#define QUOR_CHANGED_DIRECTORY 8U /**< another directory is the host directory now */
#define QUOR_CHANGED_LOST 16U     /**< there were more changes than the system keeps: all of it */

/** Begins to notice changes in `directory`, an absolute path, or in this process's host directory
    for NULL. Neither has to be there yet. */
QUOR_C_API quor_status quor_changes_open(const char* directory, quor_changes** changes,
                                         quor_error** error);

/** Ends it and closes the descriptor; NULL is fine. */
QUOR_C_API void quor_changes_close(quor_changes* changes);

/** The descriptor, which is readable when the catalogue may have changed. It belongs to `changes`,
    and is the same one for its whole life. -1 for NULL. */
QUOR_C_API int quor_changes_descriptor(const quor_changes* changes);

/** Makes the descriptor unreadable until the next change, and stores the QUOR_CHANGED_ bits of what
    may have changed since the last time; 0 when it was readable for nothing. A commit makes it
    readable once; changes by hand, and the first commit of a host, a few times. After one by hand
    it is readable once more within some seconds, for what may still have come. After a failure it
    is readable within a second, and everything may have changed. Never blocks. */
QUOR_C_API quor_status quor_changes_read(quor_changes* changes, unsigned* changed,
                                         quor_error** error);

/** Why changes are looked for once a second, by a timer behind the same descriptor: a limit of
    inotify, missing permission, a file system that other hosts change. "" while they are notified,
    and for NULL.
    Ends by itself when the reason does. Valid until the next quor_changes_read(). */
QUOR_C_API const char* quor_changes_fallback(const quor_changes* changes);

#define QUOR_DIFFERENT_POLICIES 1U   /**< the digest of the policies is another one */
#define QUOR_DIFFERENT_DATASTORES 2U /**< the digest of the datastores is another one */

/** Reads and digests the catalogue, and stores which digests differ from those of the last time;
    none does the first time. */
QUOR_C_API quor_status quor_changes_digests(quor_changes* changes, unsigned* which,
                                            quor_error** error);

#ifdef __cplusplus
}
#endif
/* NOLINTEND(modernize-use-using) */

#endif /* QUOR_QUOR_H_ */
