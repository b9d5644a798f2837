/* SPDX-FileCopyrightText: 2026 libquor developers
 * SPDX-License-Identifier: Apache-2.0
 *
 * Waits for changes in an event loop of one's own, by epoll.
 *
 *   watch_epoll             for ever
 *   watch_epoll COUNT       ends after COUNT changes
 *
 * poll, libuv (uv_poll_t) and others take the same descriptor in the same way. */
#include <quor/quor.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/epoll.h>
#include <unistd.h>

static int failed(quor_error* error) {
  fprintf(stderr, "watch_epoll: %s\n", quor_error_message(error));
  quor_error_free(error);
  return 1;
}

/* Prints what changed: 1 when something did, 0 when nothing did, -1 when it cannot be asked. */
static int handle(quor_changes* changes) {
  unsigned changed, different;
  quor_error* error;
  if (quor_changes_read(changes, &changed, &error) != QUOR_OK) return -failed(error);
  if (changed == 0) return 0;
  /* Reads the whole catalogue: leave it out where another look is cheaper. */
  if (quor_changes_digests(changes, &different, &error) != QUOR_OK) return -failed(error);
  if (different == 0) return 0;
  printf("policies %s, datastores %s\n",
         different & QUOR_DIFFERENT_POLICIES ? "changed" : "as before",
         different & QUOR_DIFFERENT_DATASTORES ? "changed" : "as before");
  fflush(stdout);
  return 1;
}

int main(int argc, char** argv) {
  long left = argc > 1 ? atol(argv[1]) : -1;
  struct epoll_event event;
  quor_changes* changes;
  quor_error* error;
  unsigned ignored;
  int handled, loop;

  if (quor_changes_open(NULL, &changes, &error) != QUOR_OK) return failed(error);
  if (quor_changes_digests(changes, &ignored, &error) != QUOR_OK) return failed(error);
  if (*quor_changes_fallback(changes)) {
    fprintf(stderr, "looking once a second: %s\n", quor_changes_fallback(changes));
  }
  loop = epoll_create1(EPOLL_CLOEXEC);
  memset(&event, 0, sizeof event);
  event.events = EPOLLIN;
  if (loop < 0 || epoll_ctl(loop, EPOLL_CTL_ADD, quor_changes_descriptor(changes), &event) != 0) {
    perror("watch_epoll");
    return 1;
  }
  puts("watching");
  fflush(stdout);
  for (handled = 0; handled >= 0 && left != 0; left -= handled > 0) {
    handled = epoll_wait(loop, &event, 1, -1) == 1 ? handle(changes) : 0;
  }
  close(loop);
  quor_changes_close(changes);
  return handled < 0 ? 1 : 0;
}
