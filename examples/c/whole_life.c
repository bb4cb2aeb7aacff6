/* A host in C that uses all of the library against the local service: it is told what goes on, shows
 * notifications and messages (here a person taps each at once), reports, signs, uploads and ends.
 *
 *   whole_life HOST:PORT CA-FILE DATA-FOLDER RESOURCES-FOLDER
 *
 * It prints what it shows, and ends with 0 when everything has arrived.
 */
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include "lumora/C/lumora.h"

/* What the callbacks leave for the main program. All of it is of the main thread. */
typedef struct life {
  bool is_initialized;
  bool has_failed;
  int shown;
  int dismissed;
  int opened;
  /* What was scheduled, for the tap; empty before. */
  char identifier[128];
  char user_info[512];
} life;

/* A call that must succeed. */
static void must(const char* what, lumora_result result) {
  if (result == LUMORA_OK) return;
  fprintf(stderr, "%s: %s\n", what, lumora_result_text(result));
  exit(1);
}

static void print(const char* what, lumora_text text) {
  printf("%s %.*s\n", what, (int)text.length, text.bytes);
}

/* Texts last only as long as the callback. */
static void keep(lumora_text text, char* buffer, size_t capacity) {
  if (text.length >= capacity) exit(1);
  memcpy(buffer, text.bytes, text.length);
  buffer[text.length] = '\0';
}

static void on_initialized(void* context) {
  ((life*)context)->is_initialized = true;
}

static void on_failure(void* context, const lumora_error* error) {
  print("failed:", error->message);
  ((life*)context)->has_failed = true;
}

static void on_loss(void* context, lumora_loss why, uint64_t count) {
  printf("lost %u: %u\n", (unsigned)why, (unsigned)count);
  ((life*)context)->has_failed = true;
}

static bool open_url(void* context, lumora_text url) {
  ((life*)context)->opened++;
  print("opened", url);
  return true;
}

static void schedule_notification(void* context, const lumora_notification* notification,
                                  lumora_completion completion) {
  life* own = context;
  print("scheduled", notification->body);
  keep(notification->identifier, own->identifier, sizeof own->identifier);
  keep(notification->user_info, own->user_info, sizeof own->user_info);
  must("scheduled", lumora_completion_finish(completion, lumora_string(NULL)));
  must("free", lumora_free(completion));
}

/* A real host draws it, and hands over the person's tap when that comes. */
static void tap_message(void* message) {
  bool tapped = false;
  must("tap", lumora_message_tap(*(uint64_t*)message, lumora_string("primary_button"), &tapped));
  printf(tapped ? "tapped\n" : "no such button\n");
}

static void show_message(void* context, uint64_t message, lumora_text description) {
  uint64_t* kept = malloc(sizeof *kept);
  if (kept == NULL) exit(1);
  *kept = message;
  ((life*)context)->shown++;
  printf("shown, %s\n",
         description.length > 0 && description.bytes[0] == '{' ? "described" : "not described");
  must("later", lumora_main_async(tap_message, kept, free));
}

static void dismiss_message(void* context, uint64_t message) {
  (void)message;
  ((life*)context)->dismissed++;
}

static void install(life* own, char** arguments) {
  lumora_map info = lumora_map_new();
  must("info", lumora_map_from_json(lumora_string("{\"CFBundleIdentifier\": \"com.example.shop\","
                                                  " \"CFBundleShortVersionString\": \"1.0\"}"),
                                    &info));
  lumora_options options = lumora_default_options();
  char folder[3][1024];
  snprintf(folder[0], sizeof folder[0], "%s/Documents", arguments[3]);
  snprintf(folder[1], sizeof folder[1], "%s/settings.json", arguments[3]);
  snprintf(folder[2], sizeof folder[2], "%s/keychain", arguments[3]);
  options.info = info;
  options.connect_to = lumora_string(arguments[1]);
  options.certificate_authority_file = lumora_string(arguments[2]);
  options.documents_directory = lumora_string(folder[0]);
  options.caches_directory = lumora_string(arguments[3]);
  options.settings_file = lumora_string(folder[1]);
  options.keychain_file = lumora_string(folder[2]);
  options.resources_directory = lumora_string(arguments[4]);
  options.context = own;
  options.open_url = open_url;
  options.schedule_notification = schedule_notification;
  options.show_message = show_message;
  options.dismiss_message = dismiss_message;
  must("install", lumora_install(&options));
  must("free", lumora_free(info));
}

static void observe(life* own) {
  const lumora_observer observer = {.size = sizeof observer,
                                    .context = own,
                                    .initialized = on_initialized,
                                    .initialization_failed = on_failure,
                                    .upload_failed = on_failure,
                                    .events_dropped = on_loss};
  must("observe", lumora_set_observer(&observer));
}

/* Runs the main thread's tasks until one of them has made `*count` so large, or for so many milliseconds. */
static bool run_until(const int* count, int wanted, int milliseconds) {
  struct pollfd waiting = {.fd = lumora_main_descriptor(), .events = POLLIN};
  struct timespec begun, now;
  clock_gettime(CLOCK_MONOTONIC, &begun);
  for (;;) {
    must("tasks", lumora_main_run_pending(NULL));
    if (count != NULL && *count >= wanted) return true;
    clock_gettime(CLOCK_MONOTONIC, &now);
    const long long left =
        milliseconds - (now.tv_sec - begun.tv_sec) * 1000LL - (now.tv_nsec - begun.tv_nsec) / 1000000;
    if (left <= 0) return false;
    poll(&waiting, 1, (int)left);
  }
}

static void report_purchase(void) {
  lumora_map size = lumora_map_new();
  lumora_list items = lumora_list_new();
  lumora_map details = lumora_map_new();
  lumora_action action = lumora_action_new();
  must("size", lumora_map_set_integer(size, lumora_string("eu"), 42));
  must("size", lumora_map_set_text(size, lumora_string("note"), (lumora_text){"a\0b \xF0\x9F\xA5\xBE", 8}));
  must("item", lumora_list_add_text(items, lumora_string("boots")));
  must("item", lumora_list_add_map(items, size));
  must("items", lumora_map_set_list(details, lumora_string("items"), items));
  must("details", lumora_action_set_map(action, details));
  must("type", lumora_action_set_type(action, lumora_string("purchase")));
  must("metric", lumora_action_set_metric(action, 12.5));
  must("report", lumora_report_action(lumora_string("checkout"), action));
  const lumora_handle all[] = {size, items, details, action};
  for (size_t i = 0; i < sizeof all / sizeof *all; i++) must("free", lumora_free(all[i]));
  must("report", lumora_report_action_json(lumora_string("rated"), lumora_string("{\"stars\": [5, null]}")));
}

static void report_person(void) {
  lumora_lead lead = lumora_lead_new();
  must("email", lumora_lead_set_email(lead, lumora_string("ada@example.com")));
  must("name", lumora_lead_set_text(lead, lumora_string("firstName"), lumora_string("Ada")));
  must("lead", lumora_associate_lead(lead));
  must("free", lumora_free(lead));
}

/* What the host's server has signed; until then secure mode holds the uploads back. */
static void sign(void) {
  lumora_signature signature =
      lumora_signature_new(lumora_string("key"), lumora_string("c2lnbmVk"), lumora_string("1700000000"),
                           lumora_string("ada@example.com"));
  must("sign", lumora_set_signature(signature));
  must("free", lumora_free(signature));
}

/* A push that arrives in the foreground becomes a notification, and the person taps it. */
static void push(life* own) {
  const uint8_t token[] = {0x0A, 0xFF, 0x00, 0x42};
  lumora_map payload = LUMORA_NONE;
  lumora_notification tapped;
  must("token", lumora_register_push_token((lumora_data){token, sizeof token}));
  must("payload",
       lumora_map_from_json(lumora_string("{\"aps\": {\"alert\": \"Hello\"},"
                                          " \"vs\": {\"cid\": \"c1\", \"a\": \"acme.example/push\"}}"),
                            &payload));
  must("push", lumora_handle_push(payload));
  must("free", lumora_free(payload));
  for (int turn = 0; turn < 1000 && own->identifier[0] == '\0'; turn++) run_until(NULL, 0, 10);
  memset(&tapped, 0, sizeof tapped);
  tapped.size = sizeof tapped;
  tapped.identifier = lumora_string(own->identifier);
  tapped.user_info = lumora_string(own->user_info);
  must("tapped", lumora_notification_tapped(&tapped));
  if (!run_until(&own->opened, 1, 10000)) printf("no link was opened\n");
}

/* The action that shows the message is repeated: its campaign may still be on its way. */
static void show(life* own) {
  int reported = 0;
  do {
    must("report", lumora_report_action(lumora_string("profile_created"), LUMORA_NONE));
    reported++;
  } while (!run_until(&own->shown, 1, 500) && reported < 60);
  if (!run_until(&own->opened, 2, 10000)) printf("no link was opened\n");
  printf("reported profile_created %d\n", reported);
}

int main(int argc, char** argv) {
  static life own;
  bool is_empty = false;
  lumora_status status;
  if (argc != 5) return 64;
  install(&own, argv);
  observe(&own);
  must("initialize", lumora_initialize(lumora_string("acme"), lumora_string("s3cret"), LUMORA_NONE));
  for (int turn = 0; turn < 2000 && !own.is_initialized && !own.has_failed; turn++) run_until(NULL, 0, 10);
  printf(lumora_is_secure_mode_enabled() ? "secure\n" : "not secure\n");

  must("session", lumora_start_session(lumora_string("visit")));
  report_purchase();
  report_person();
  sign();
  push(&own);
  show(&own);
  run_until(NULL, 0, 1100); /* A session of less than a second is none. */
  must("session", lumora_end_session(lumora_string("visit")));

  must("flush", lumora_flush(20000, &is_empty));
  run_until(NULL, 0, 0);
  memset(&status, 0, sizeof status);
  status.size = sizeof status;
  must("status", lumora_get_status(&status));
  printf("%d wait, last error %u\n", (int)status.waiting_events, (unsigned)status.last_error);
  must("shutdown", lumora_shutdown(20000));
  return is_empty && own.dismissed == 1 && !own.has_failed ? 0 : 1;
}
