/* A host in C: it starts the library, reports a purchase with its details, and stays a moment for the upload.
 *
 *   cc -std=c11 main.c $(pkg-config --cflags --libs lumora)
 */
#include <poll.h>
#include <stdio.h>

#include "lumora/C/lumora.h"

/* Says what went wrong, if anything did. */
static void check(const char* what, lumora_result result) {
  if (result != LUMORA_OK) fprintf(stderr, "%s: %s\n", what, lumora_result_text(result));
}

static void log_line(void* context, lumora_text message) {
  (void)context;
  fprintf(stderr, "%.*s\n", (int)message.length, message.bytes);
}

/* Runs the library's tasks for the main thread until none has come for half a second. */
static void run_main_thread(void) {
  struct pollfd waiting = {.fd = lumora_main_descriptor(), .events = POLLIN};
  while (poll(&waiting, 1, 500) > 0) check("tasks", lumora_main_run_pending(NULL));
}

int main(void) {
  lumora_map info = lumora_map_new();
  check("bundle",
        lumora_map_set_text(info, lumora_string("CFBundleIdentifier"), lumora_string("com.example.c")));
  check("version",
        lumora_map_set_text(info, lumora_string("CFBundleShortVersionString"), lumora_string("1.0")));
  lumora_options options = lumora_default_options();
  options.info = info;
  options.log = log_line;
  check("install", lumora_install(&options));
  check("free", lumora_free(info));
  check("initialize", lumora_initialize(lumora_string("acme"), lumora_string("s3cret"), LUMORA_NONE));

  lumora_action purchase = lumora_action_new();
  check("type", lumora_action_set_type(purchase, lumora_string("purchase")));
  check("metric", lumora_action_set_metric(purchase, 12.5));
  check("detail", lumora_action_set_text(purchase, lumora_string("plan"), lumora_string("gold")));
  check("report", lumora_report_action(lumora_string("checkout"), purchase));
  check("free", lumora_free(purchase));

  run_main_thread();
  printf("Lumora %s, %s\n", lumora_version(),
         lumora_is_initialized() ? "initialised" : "not initialised yet");
  return 0;
}
