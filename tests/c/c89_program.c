/* SPDX-FileCopyrightText: 2026 libquor developers
 * SPDX-License-Identifier: Apache-2.0
 *
 * A program of somebody else, in C89: takes the address of every function, so that one that is not
 * exported breaks its build, and asks on a host where nothing was ever written. Exits with 1 when an
 * answer is not the documented one. */
#include <quor/quor.h>
#include <string.h>

typedef void (*any_function)(void);

/* Volatile: the linker must provide each. */
static volatile any_function functions[] = {
    (any_function)quor_error_kind,
    (any_function)quor_error_message,
    (any_function)quor_error_file,
    (any_function)quor_error_free,
    (any_function)quor_status_text,
    (any_function)quor_bytes_free,
    (any_function)quor_rilk_blob_by_id,
    (any_function)quor_rilk_blob_by_name,
    (any_function)quor_default_blob,
    (any_function)quor_blob_by_id,
    (any_function)quor_digests_get,
    (any_function)quor_reset,
    (any_function)quor_policy_id,
    (any_function)quor_policy_name,
    (any_function)quor_policy_description,
    (any_function)quor_policy_generation,
    (any_function)quor_policy_blob_count,
    (any_function)quor_policy_blob,
    (any_function)quor_policy_blob_namespace,
    (any_function)quor_policy_set_id,
    (any_function)quor_policy_set_name,
    (any_function)quor_policy_set_description,
    (any_function)quor_policy_set_generation,
    (any_function)quor_policy_add_blob,
    (any_function)quor_policies_new,
    (any_function)quor_policies_free,
    (any_function)quor_policies_count,
    (any_function)quor_policies_at,
    (any_function)quor_policies_add,
    (any_function)quor_policies_list,
    (any_function)quor_policies_replace,
    (any_function)quor_datastore_url,
    (any_function)quor_datastore_namespace,
    (any_function)quor_datastore_default_policy,
    (any_function)quor_datastore_set_url,
    (any_function)quor_datastore_set_namespace,
    (any_function)quor_datastore_set_default_policy,
    (any_function)quor_datastores_new,
    (any_function)quor_datastores_free,
    (any_function)quor_datastores_count,
    (any_function)quor_datastores_at,
    (any_function)quor_datastores_add,
    (any_function)quor_datastores_list,
    (any_function)quor_datastores_replace,
    (any_function)quor_revision_get,
    (any_function)quor_revision_equal,
    (any_function)quor_changes_open,
    (any_function)quor_changes_close,
    (any_function)quor_changes_descriptor,
    (any_function)quor_changes_read,
    (any_function)quor_changes_fallback,
    (any_function)quor_changes_digests};

static int answers_nothing(void) {
  quor_bytes blob;
  quor_error* error;
  quor_digests digests;
  quor_policies* policies;
  quor_datastores* datastores;
  int right = 1;
  right &= quor_default_blob("ds:///a/", QUOR_TERMINATED, &blob, &error) == QUOR_OK;
  right &= blob.length == 0 && blob.data[0] == '\0' && error == NULL;
  quor_bytes_free(&blob);
  right &= quor_digests_get(&digests, NULL) == QUOR_OK;
  right &= digests.policies[0] == '\0' && digests.datastores[0] == '\0';
  right &= quor_policies_list(&policies, NULL) == QUOR_OK && quor_policies_count(policies) == 0;
  right &= quor_datastores_list(&datastores, NULL) == QUOR_OK;
  right &= quor_datastores_count(datastores) == 0 && quor_datastores_at(datastores, 0) == NULL;
  right &= strcmp(quor_error_message(NULL), "") == 0;
  quor_policies_free(policies);
  quor_datastores_free(datastores);
  return right;
}

int main(void) {
  size_t i;
  for (i = 0; i < sizeof functions / sizeof functions[0]; i++) {
    if (functions[i] == NULL) return 1;
  }
  return answers_nothing() ? 0 : 1;
}
