/* A host in C: it starts the library, reports a level with its details, shows messages as text and taps
 * their first button.
 *
 *   cc -std=c11 main.c -o host $(pkg-config --cflags --libs lumora)
 *   ./host [ADDRESS CERTIFICATE]
 *
 * The arguments are those of a service on this machine, as lumora-service tells them. Messages need the
 * folder `resources` beside the program.
 */
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include "lumora/C/lumora.h"

/* Says what went wrong, if anything did. */
static void check(const char* what, lumora_result result) {
  if (result != LUMORA_OK) fprintf(stderr, "%s: %s\n", what, lumora_result_text(result));
}

static void log_line(void* context, lumora_text message) {
  (void)context;
  fprintf(stderr, "%.*s\n", (int)message.length, message.bytes);
}

static void initialized(void* context) {
  (void)context;
  printf("initialised\n");
}

static void tap_first_button(void* message) {
  bool tapped = false;
  check("tap", lumora_message_tap(*(uint64_t*)message, lumora_string("primary_button"), &tapped));
  printf(tapped ? "tapped\n" : "no such button\n");
}

/* A real host draws the description, a JSON object, and hands over the person's tap when that comes. */
static void show_message(void* context, uint64_t message, lumora_text description) {
  uint64_t* kept = malloc(sizeof *kept);
  (void)context;
  printf("message: %.*s\n", (int)description.length, description.bytes);
  if (kept == NULL) return;
  *kept = message;
  check("later", lumora_main_async(tap_first_button, kept, free));
}

static void dismiss_message(void* context, uint64_t message) {
  (void)context;
  (void)message;
  printf("the message is gone\n");
}

static bool open_url(void* context, lumora_text url) {
  (void)context;
  printf("opens %.*s\n", (int)url.length, url.bytes);
  return true;
}

/* Runs the library's tasks for the main thread for so many seconds. */
static void run_main_thread(int seconds) {
  struct pollfd waiting = {.fd = lumora_main_descriptor(), .events = POLLIN};
  const time_t end = time(NULL) + seconds;
  while (time(NULL) <= end) {
    if (poll(&waiting, 1, 100) > 0) check("tasks", lumora_main_run_pending(NULL));
  }
}

static void install(int argc, char** argv) {
  lumora_map info = lumora_map_new();
  check("bundle",
        lumora_map_set_text(info, lumora_string("CFBundleIdentifier"), lumora_string("com.example.c")));
  check("version",
        lumora_map_set_text(info, lumora_string("CFBundleShortVersionString"), lumora_string("1.0")));
  lumora_options options = lumora_default_options();
  options.info = info;
  options.log = log_line;
  options.open_url = open_url;
  options.show_message = show_message;
  options.dismiss_message = dismiss_message;
  if (argc == 3) {
    options.connect_to = lumora_string(argv[1]);
    options.certificate_authority_file = lumora_string(argv[2]);
  }
  check("install", lumora_install(&options));
  check("free", lumora_free(info));
}

static void report_level(void) {
  lumora_action level = lumora_action_new();
  check("type", lumora_action_set_type(level, lumora_string("tutorial")));
  check("metric", lumora_action_set_metric(level, 12.5));
  check("detail", lumora_action_set_text(level, lumora_string("player"), lumora_string("second")));
  check("report", lumora_report_action(lumora_string("level_done"), level));
  check("free", lumora_free(level));
}

int main(int argc, char** argv) {
  const lumora_observer observer = {.size = sizeof observer, .initialized = initialized};
  bool is_sent = false;
  install(argc, argv);
  check("observe", lumora_set_observer(&observer));
  check("initialize", lumora_initialize(lumora_string("acme"), lumora_string("s3cret"), LUMORA_NONE));
  report_level();
  run_main_thread(2);
  /* A campaign of the local service waits for it. */
  check("report", lumora_report_action(lumora_string("profile_created"), LUMORA_NONE));
  run_main_thread(1);
  check("flush", lumora_flush(5000, &is_sent));
  printf("Lumora %s, %s\n", lumora_version(), is_sent ? "all is sent" : "the rest is sent by the next run");
  return 0;
}
