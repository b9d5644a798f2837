/* SPDX-FileCopyrightText: 2026 libquor developers
 * SPDX-License-Identifier: Apache-2.0
 *
 * Waits for changes in systemd's event loop, and ends at the first one.
 *
 *   cc -o watch_sd_event watch_sd_event.c $(pkg-config --cflags --libs quorc libsystemd) */
#include <quor/quor.h>
#include <stdio.h>
#include <sys/epoll.h>
#include <systemd/sd-event.h>

static int on_change(sd_event_source* source, int descriptor, uint32_t events, void* data) {
  unsigned changed;
  (void)descriptor, (void)events;
  if (quor_changes_read(data, &changed, NULL) == QUOR_OK && changed != 0) {
    puts("changed");
    return sd_event_exit(sd_event_source_get_event(source), 0);
  }
  return 0;
}

int main(void) {
  sd_event* loop = NULL;
  quor_changes* changes;
  quor_error* error;
  int status;

  if (quor_changes_open(NULL, &changes, &error) != QUOR_OK) {
    fprintf(stderr, "watch_sd_event: %s\n", quor_error_message(error));
    quor_error_free(error);
    return 1;
  }
  status = sd_event_default(&loop);
  if (status >= 0) {
    status = sd_event_add_io(loop, NULL, quor_changes_descriptor(changes), EPOLLIN, on_change,
                             changes);
  }
  puts("watching");
  fflush(stdout);
  if (status >= 0) status = sd_event_loop(loop);
  sd_event_unref(loop);
  quor_changes_close(changes);
  return status < 0 ? 1 : 0;
}
