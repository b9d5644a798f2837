/* SPDX-FileCopyrightText: 2026 libquor developers
 * SPDX-License-Identifier: Apache-2.0
 *
 * Prints the blob that applies to a datastore, in C89.
 *
 *   look_up_blob_c DATASTORE-URL              the blob of the datastore's default policy
 *   look_up_blob_c DATASTORE-URL POLICY-ID    the blob of that policy for the datastore
 *
 * Ends with 1 when there is none, and with 2 when the store failed. */
#include <quor/quor.h>
#include <stdio.h>

int main(int argc, char** argv) {
  quor_bytes blob;
  quor_error* error;
  quor_status status;
  int found;

  if (argc < 2 || argc > 3) {
    fprintf(stderr, "usage: look_up_blob_c DATASTORE-URL [POLICY-ID]\n");
    return 2;
  }
  if (argc == 2) {
    status = quor_default_blob(argv[1], QUOR_TERMINATED, &blob, &error);
  } else {
    status = quor_blob_by_id(argv[2], QUOR_TERMINATED, argv[1], QUOR_TERMINATED, &blob, &error);
  }
  if (status != QUOR_OK) {
    fprintf(stderr, "look_up_blob_c: %s\n", quor_error_message(error));
    quor_error_free(error);
    return 2;
  }
  fwrite(blob.data, 1, blob.length, stdout);
  found = blob.length != 0;
  quor_bytes_free(&blob);
  return found ? 0 : 1;
}
