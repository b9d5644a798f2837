/* SPDX-FileCopyrightText: 2026 libquor developers
 * SPDX-License-Identifier: Apache-2.0
 *
 * Replaces the host's catalogue by a small one, in C89. */
#include <quor/quor.h>
#include <stdio.h>

static const char xml[] = "<rules copies=\"3\"/>";

/* Every step may lack memory; the statuses are looked at together. */
static quor_status add_policy(quor_policies* policies) {
  quor_policy* gold = quor_policies_add(policies);
  int bad = 0;
  if (gold == NULL) return QUOR_NO_MEMORY;
  bad |= quor_policy_set_id(gold, "gold-01", QUOR_TERMINATED);
  bad |= quor_policy_set_name(gold, "Gold", QUOR_TERMINATED);
  bad |= quor_policy_set_description(gold, "Three copies", QUOR_TERMINATED);
  bad |= quor_policy_add_blob(gold, "SHRF", QUOR_TERMINATED, xml, sizeof xml - 1);
  bad |= quor_policy_add_blob(gold, "VOLB", QUOR_TERMINATED, "VOLB\0\1\2", 7);
  quor_policy_set_generation(gold, 1);
  return bad ? QUOR_NO_MEMORY : QUOR_OK;
}

static quor_status add_datastore(quor_datastores* datastores, const char* url,
                                 const char* storage_namespace) {
  quor_datastore* one = quor_datastores_add(datastores);
  int bad = 0;
  if (one == NULL) return QUOR_NO_MEMORY;
  bad |= quor_datastore_set_url(one, url, QUOR_TERMINATED);
  bad |= quor_datastore_set_namespace(one, storage_namespace, QUOR_TERMINATED);
  bad |= quor_datastore_set_default_policy(one, "gold-01", QUOR_TERMINATED);
  return bad ? QUOR_NO_MEMORY : QUOR_OK;
}

int main(void) {
  quor_policies* policies = quor_policies_new();
  quor_datastores* datastores = quor_datastores_new();
  quor_error* error = NULL;
  quor_status status = QUOR_NO_MEMORY;

  if (policies != NULL && datastores != NULL) {
    status = add_policy(policies);
    if (!status) status = add_datastore(datastores, "ds:///shares/mail/", "SHRF");
    if (!status) status = add_datastore(datastores, "ds:///volumes/a1/", "VOLB");
    if (!status) status = quor_policies_replace(policies, &error);
    if (!status) status = quor_datastores_replace(datastores, &error);
  }
  if (status == QUOR_OK) {
    printf("pushed %lu policy and %lu datastores\n", (unsigned long)quor_policies_count(policies),
           (unsigned long)quor_datastores_count(datastores));
  } else {
    fprintf(stderr, "push_catalogue_c: %s\n",
            error ? quor_error_message(error) : quor_status_text(status));
  }
  quor_policies_free(policies);
  quor_datastores_free(datastores);
  quor_error_free(error);
  return status == QUOR_OK ? 0 : 1;
}
