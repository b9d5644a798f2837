# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The extension module quor._quor: the C interface, and listings in one piece.

    native_source.py FILE      writes the module's C source, to be linked with libquorc
"""
from __future__ import annotations

import sys

import cffi

DECLARATIONS = """
typedef enum { QUOR_OK, QUOR_STORE, QUOR_FILE, QUOR_BUSY, QUOR_PERMISSION, QUOR_CORRUPT,
               QUOR_NO_SPACE, QUOR_NO_MEMORY, QUOR_USAGE, QUOR_SYSTEM, ... } quor_status;
typedef struct quor_error quor_error;
const char* quor_error_message(const quor_error*);
const char* quor_error_file(const quor_error*);
void quor_error_free(quor_error*);

typedef struct { const char* data; size_t length; ...; } quor_bytes;
void quor_bytes_free(quor_bytes*);
typedef struct { quor_bytes blob; quor_error* error; } quorpy_answer;
quor_status quor_rilk_blob_by_id(const char*, size_t, quor_bytes*, quor_error**);
quor_status quor_rilk_blob_by_name(const char*, size_t, quor_bytes*, quor_error**);
quor_status quor_default_blob(const char*, size_t, quor_bytes*, quor_error**);
quor_status quor_blob_by_id(const char*, size_t, const char*, size_t, quor_bytes*, quor_error**);
quor_status quorpy_default_blob(const char*, size_t, quorpy_answer*);
quor_status quorpy_blob_by_id(const char*, size_t, const char*, size_t, quorpy_answer*);

typedef struct { char policies[...]; char datastores[...]; } quor_digests;
quor_status quor_digests_get(quor_digests*, quor_error**);
quor_status quor_reset(quor_error**);

typedef struct quor_policy quor_policy;
typedef struct quor_policies quor_policies;
quor_status quor_policy_set_id(quor_policy*, const char*, size_t);
quor_status quor_policy_set_name(quor_policy*, const char*, size_t);
quor_status quor_policy_set_description(quor_policy*, const char*, size_t);
void quor_policy_set_generation(quor_policy*, int64_t);
quor_status quor_policy_add_blob(quor_policy*, const char*, size_t, const char*, size_t);
quor_policies* quor_policies_new(void);
void quor_policies_free(quor_policies*);
quor_policy* quor_policies_add(quor_policies*);
quor_status quor_policies_replace(const quor_policies*, quor_error**);

typedef struct quor_datastore quor_datastore;
typedef struct quor_datastores quor_datastores;
quor_status quor_datastore_set_url(quor_datastore*, const char*, size_t);
quor_status quor_datastore_set_namespace(quor_datastore*, const char*, size_t);
quor_status quor_datastore_set_default_policy(quor_datastore*, const char*, size_t);
quor_datastores* quor_datastores_new(void);
void quor_datastores_free(quor_datastores*);
quor_datastore* quor_datastores_add(quor_datastores*);
quor_status quor_datastores_replace(const quor_datastores*, quor_error**);

typedef struct { ...; } quor_revision;
quor_status quor_revision_get(quor_revision*, quor_error**);

typedef struct quor_changes quor_changes;
quor_status quor_changes_open(const char*, quor_changes**, quor_error**);
void quor_changes_close(quor_changes*);
int quor_changes_descriptor(const quor_changes*);
quor_status quor_changes_read(quor_changes*, unsigned*, quor_error**);
const char* quor_changes_fallback(const quor_changes*);

/* A listing: the texts of all records one behind the other, their blobs likewise, and numbers. */
typedef struct {
  char* texts; size_t texts_length;
  char* blobs; size_t blobs_length;
  int64_t* numbers; size_t numbers_length;
} quorpy_listing;
quor_status quorpy_list_policies(quorpy_listing*, quor_error**);
quor_status quorpy_list_datastores(quorpy_listing*, quor_error**);
void quorpy_listing_free(quorpy_listing*);
"""

SOURCE = r"""
#include <quor/quor.h>
#include <stdlib.h>
#include <string.h>

typedef struct { quor_bytes blob; quor_error* error; } quorpy_answer;

static quor_status quorpy_default_blob(const char* url, size_t length, quorpy_answer* answer) {
  return quor_default_blob(url, length, &answer->blob, &answer->error);
}
static quor_status quorpy_blob_by_id(const char* id, size_t id_length, const char* url,
                                     size_t url_length, quorpy_answer* answer) {
  return quor_blob_by_id(id, id_length, url, url_length, &answer->blob, &answer->error);
}

typedef struct {
  char* texts; size_t texts_length;
  char* blobs; size_t blobs_length;
  int64_t* numbers; size_t numbers_length;
} quorpy_listing;

/* The first run counts, with null pointers; the second one writes. */
static void put(char* area, size_t* used, quor_view bytes) {
  if (area) memcpy(area + *used, bytes.data, bytes.length);
  *used += bytes.length;
}
static void put_number(quorpy_listing* listing, int64_t number) {
  if (listing->numbers) listing->numbers[listing->numbers_length] = number;
  listing->numbers_length++;
}
static void put_text(quorpy_listing* listing, quor_view text) {
  put(listing->texts, &listing->texts_length, text);
  put_number(listing, (int64_t)text.length);
}
static void put_blob(quorpy_listing* listing, quor_view blob) {
  put(listing->blobs, &listing->blobs_length, blob);
  put_number(listing, (int64_t)blob.length);
}

/* A policy: generation, lengths of id, name, description, number of blobs; a blob: two lengths. */
static void put_policies(quorpy_listing* listing, const void* list) {
  size_t i, j, count = quor_policies_count(list), blobs;
  for (i = 0; i < count; i++) {
    const quor_policy* policy = quor_policies_at(list, i);
    blobs = quor_policy_blob_count(policy);
    put_number(listing, quor_policy_generation(policy));
    put_text(listing, quor_policy_id(policy));
    put_text(listing, quor_policy_name(policy));
    put_text(listing, quor_policy_description(policy));
    put_number(listing, (int64_t)blobs);
    for (j = 0; j < blobs; j++) {
      put_text(listing, quor_policy_blob_namespace(policy, j));
      put_blob(listing, quor_policy_blob(policy, j));
    }
  }
}
static void put_datastores(quorpy_listing* listing, const void* list) {
  size_t i, count = quor_datastores_count(list);
  for (i = 0; i < count; i++) {
    const quor_datastore* datastore = quor_datastores_at(list, i);
    put_text(listing, quor_datastore_url(datastore));
    put_text(listing, quor_datastore_namespace(datastore));
    put_text(listing, quor_datastore_default_policy(datastore));
  }
}

static void quorpy_listing_free(quorpy_listing* listing) {
  free(listing->texts);
  free(listing->blobs);
  free(listing->numbers);
}

static quor_status fill(quorpy_listing* listing, const void* list,
                        void (*put_all)(quorpy_listing*, const void*)) {
  memset(listing, 0, sizeof *listing);
  put_all(listing, list);
  listing->texts = malloc(listing->texts_length + 1);
  listing->blobs = malloc(listing->blobs_length + 1);
  listing->numbers = malloc((listing->numbers_length + 1) * sizeof *listing->numbers);
  if (!listing->texts || !listing->blobs || !listing->numbers) return QUOR_NO_MEMORY;
  listing->texts_length = listing->blobs_length = listing->numbers_length = 0;
  put_all(listing, list);
  return QUOR_OK;
}
static quor_status quorpy_list_policies(quorpy_listing* listing, quor_error** error) {
  quor_policies* list;
  quor_status status = quor_policies_list(&list, error);
  memset(listing, 0, sizeof *listing);
  if (status == QUOR_OK) status = fill(listing, list, put_policies);
  quor_policies_free(list);
  return status;
}
static quor_status quorpy_list_datastores(quorpy_listing* listing, quor_error** error) {
  quor_datastores* list;
  quor_status status = quor_datastores_list(&list, error);
  memset(listing, 0, sizeof *listing);
  if (status == QUOR_OK) status = fill(listing, list, put_datastores);
  quor_datastores_free(list);
  return status;
}
"""


def builder() -> cffi.FFI:
    """What setuptools builds the module from (cffi_modules)."""
    ffi = cffi.FFI()
    ffi.cdef(DECLARATIONS)
    ffi.set_source("quor._quor", SOURCE, libraries=["quorc"])
    return ffi


if __name__ == "__main__":
    builder().emit_c_code(sys.argv[1])
