#ifndef LUMORA_C_LUMORA_H
#define LUMORA_C_LUMORA_H

/**
 * @file
 * The library for C11, and for every language that calls C functions.
 *
 *     lumora_options options = lumora_default_options();
 *     lumora_install(&options);
 *     lumora_initialize(lumora_string("acme"), lumora_string("s3cret"), LUMORA_NONE);
 *
 *     lumora_action coupon = lumora_action_new();
 *     lumora_action_set_text(coupon, lumora_string("code"), lumora_string("SPRING"));
 *     lumora_report_action(lumora_string("coupon_applied"), coupon);
 *     lumora_free(coupon);
 *
 * Threads: any thread may call any function, unless it says otherwise. A call checks its arguments and
 * enqueues the work; what blocks says so. Callbacks come on the main thread, unless they say otherwise, and
 * must not throw.
 *
 * Texts are UTF-8 with their length; they may hold NUL. The library copies what it is given before a function
 * returns, and what it hands to a callback lasts until the callback returns. A text without bytes ({NULL, 0})
 * is no text, which is something else than an empty one.
 *
 * Objects are handles: numbers that the caller frees with `lumora_free`, each once. 0 (`LUMORA_NONE`) is no
 * object. A handle that was freed, or one of another kind, is recognised: the function does nothing and says
 * so. An object may be used by several threads, and may be freed while another function uses it.
 *
 * Failures: a function gives a result; `lumora_result_text` explains it. Whatever it is, nothing was half
 * done. What the library itself refuses, such as an action without a name, is a line in its log and no
 * result, since it is found on the library's own queue.
 */

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

/** Marks what the shared library offers to a host. */
#define LUMORA_C_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/** @name Results
 *  @{ */

/** What came of a call. Unknown numbers, of a newer library, are failures. */
typedef int32_t lumora_result;

enum {
  LUMORA_OK = 0,
  /** A handle that is freed, of another kind, or none where one is needed. */
  LUMORA_BAD_HANDLE = 1,
  /** A text that is not UTF-8, or that has a length and no bytes. */
  LUMORA_BAD_TEXT = 2,
  /** A null pointer where one is needed, a structure of an unknown size, a number out of its range. */
  LUMORA_BAD_ARGUMENT = 3,
  /** A text that is not JSON of the kind that is needed, or nested deeper than 512. */
  LUMORA_BAD_JSON = 4,
  /** The buffer is too small; the length that is needed was given. */
  LUMORA_BUFFER_TOO_SMALL = 5,
  /** The library is in use already, with the options that it was given then or with default ones. */
  LUMORA_ALREADY_INSTALLED = 6,
  /** Only the main thread may do this. */
  LUMORA_WRONG_THREAD = 7,
  LUMORA_OUT_OF_MEMORY = 8,
  /** A fault of the library. */
  LUMORA_INTERNAL_ERROR = 9
};

/** A sentence for the host's developer, for any number. It lives for ever. */
LUMORA_C_API const char* lumora_result_text(lumora_result result);

/** The library's version, like "0.7.4". It lives for ever. */
LUMORA_C_API const char* lumora_version(void);

/** @}
 *  @name Texts and bytes
 *  @{ */

/** UTF-8 bytes, which need not end with NUL. */
typedef struct lumora_text {
  const char* bytes;
  size_t length;
} lumora_text;

typedef struct lumora_data {
  const uint8_t* bytes;
  size_t length;
} lumora_data;

/** A C string as a text; NULL is no text. */
LUMORA_C_API lumora_text lumora_string(const char* string);

/** @}
 *  @name Objects
 *  @{ */

/** Any object's handle. */
typedef uint64_t lumora_handle;

typedef lumora_handle lumora_map;
typedef lumora_handle lumora_list;
typedef lumora_handle lumora_action;
typedef lumora_handle lumora_lead;
typedef lumora_handle lumora_signature;
typedef lumora_handle lumora_alert;
typedef lumora_handle lumora_completion;

#define LUMORA_NONE ((lumora_handle)0)

/** Frees an object of any kind; none is fine. */
LUMORA_C_API lumora_result lumora_free(lumora_handle object);

/** @}
 *  @name Maps and lists
 *
 *  What payloads and launch options are made of. A value that is set again replaces the earlier one; a map or
 *  a list is copied into the one that takes it. `lumora_map_new` and `lumora_list_new` give 0 when memory is
 *  lacking.
 *  @{ */

LUMORA_C_API lumora_map lumora_map_new(void);
/** A map of a JSON object's members; the caller frees it. */
LUMORA_C_API lumora_result lumora_map_from_json(lumora_text json, lumora_map* map);
LUMORA_C_API lumora_result lumora_map_set_text(lumora_map map, lumora_text key, lumora_text value);
LUMORA_C_API lumora_result lumora_map_set_integer(lumora_map map, lumora_text key, int64_t value);
LUMORA_C_API lumora_result lumora_map_set_number(lumora_map map, lumora_text key, double value);
LUMORA_C_API lumora_result lumora_map_set_bool(lumora_map map, lumora_text key, bool value);
LUMORA_C_API lumora_result lumora_map_set_data(lumora_map map, lumora_text key, lumora_data value);
/** Seconds since 1970-01-01 UTC. */
LUMORA_C_API lumora_result lumora_map_set_date(lumora_map map, lumora_text key, double value);
LUMORA_C_API lumora_result lumora_map_set_map(lumora_map map, lumora_text key, lumora_map value);
LUMORA_C_API lumora_result lumora_map_set_list(lumora_map map, lumora_text key, lumora_list value);
LUMORA_C_API lumora_result lumora_map_set_null(lumora_map map, lumora_text key);

LUMORA_C_API lumora_list lumora_list_new(void);
LUMORA_C_API lumora_result lumora_list_add_text(lumora_list list, lumora_text value);
LUMORA_C_API lumora_result lumora_list_add_integer(lumora_list list, int64_t value);
LUMORA_C_API lumora_result lumora_list_add_number(lumora_list list, double value);
LUMORA_C_API lumora_result lumora_list_add_bool(lumora_list list, bool value);
LUMORA_C_API lumora_result lumora_list_add_data(lumora_list list, lumora_data value);
LUMORA_C_API lumora_result lumora_list_add_date(lumora_list list, double value);
LUMORA_C_API lumora_result lumora_list_add_map(lumora_list list, lumora_map value);
LUMORA_C_API lumora_result lumora_list_add_list(lumora_list list, lumora_list value);
LUMORA_C_API lumora_result lumora_list_add_null(lumora_list list);

/** @}
 *  @name The platform
 *  @{ */

/** An alert that the host is to show. */
typedef struct lumora_alert_info {
  size_t size;
  lumora_text title;
  lumora_text message;
  const lumora_text* buttons;
  size_t button_count;
  /** No text: the alert has no text field. Otherwise what the field holds at first. */
  lumora_text text_field;
} lumora_alert_info;

/** A local notification, as it is to be scheduled, or as the system delivered it. */
typedef struct lumora_notification {
  size_t size;
  lumora_text identifier;
  lumora_text category;
  lumora_text body;
  /** A JSON object. */
  lumora_text user_info;
  int32_t badge;
  /** Seconds until it is shown. */
  double delay;
  bool default_sound;
} lumora_notification;

/**
 * What a host tells the library about itself and does for it. Every field may be left as
 * `lumora_default_options` sets it; what each path then is, and what happens without a callback,
 * `lumora/Platform/Linux/LinuxPlatform.h` says.
 *
 * A map's entries that are no texts are left out. The library copies everything but the context.
 */
typedef struct lumora_options {
  /** `sizeof(lumora_options)`: fields beyond it, of a newer library, have their defaults. */
  size_t size;

  lumora_text documents_directory;
  lumora_text caches_directory;
  lumora_text settings_file;
  lumora_text keychain_file;
  lumora_text resources_directory;
  /** Texts by their keys: `CFBundleIdentifier`, `CFBundleShortVersionString`, `CFBundleVersion`. */
  lumora_map info;
  /** The host's own wording of the library's texts, by the library's text. */
  lumora_map localized_texts;

  lumora_text model;
  lumora_text system_version;
  lumora_text device_name;
  lumora_text locale_identifier;
  lumora_text carrier_name;
  lumora_text machine_identifier;

  lumora_text certificate_authority_file;
  lumora_text connect_to;

  /** What every callback is given first; `free_context` is called with it when the library needs it no more:
   *  at once when `lumora_install` fails, otherwise never. */
  void* context;
  void (*free_context)(void* context);

  /** Any thread. Must not call the library. */
  void (*log)(void* context, lumora_text message);
  /** Gives false when the URL cannot be opened. */
  bool (*open_url)(void* context, lumora_text url);
  /** Shows an alert; `lumora_alert_press` says which button was pressed. The host frees the alert. */
  void (*show_alert)(void* context, const lumora_alert_info* info, lumora_alert alert);
  /** Schedules a notification; `lumora_completion_finish` says how it went. The host frees the completion. */
  void (*schedule_notification)(void* context, const lumora_notification* notification,
                                lumora_completion completion);
  /** Draws an in-app message above whatever is shown: a JSON object that `LMRInApp.html` draws
   *  (`describeInAppMessage`). Both or neither of the two must be given. */
  void (*show_message)(void* context, uint64_t message, lumora_text description);
  /** Takes it away. */
  void (*dismiss_message)(void* context, uint64_t message);
} lumora_options;

/** Every default. */
static inline lumora_options lumora_default_options(void) {
  lumora_options options;
  memset(&options, 0, sizeof options);
  options.size = sizeof options;
  return options;
}

/**
 * Installs the platform with these options; NULL is every default. To be called once, before any function
 * below, on the thread that is the main thread from then on.
 */
LUMORA_C_API lumora_result lumora_install(const lumora_options* options);

/** Runs the main thread's tasks until `lumora_main_stop`. Main thread. */
LUMORA_C_API lumora_result lumora_main_run(void);
/** Any thread. */
LUMORA_C_API lumora_result lumora_main_stop(void);
/** Runs the tasks that wait now, for a host with a loop of its own; `count`, which may be NULL, becomes how
 *  many they were. Main thread; never blocks. */
LUMORA_C_API lumora_result lumora_main_run_pending(size_t* count);
/** A file descriptor that is readable while tasks wait; -1 before the installation. It is the library's: only
 *  poll it. */
LUMORA_C_API int lumora_main_descriptor(void);
/** Has a task run on the main thread. `free_context`, which may be NULL, is called after it, or at once on
 *  failure. */
LUMORA_C_API lumora_result lumora_main_async(void (*task)(void* context), void* context,
                                             void (*free_context)(void* context));

/** The application has gone to the background, or comes back from there. Main thread. */
LUMORA_C_API lumora_result lumora_did_enter_background(void);
LUMORA_C_API lumora_result lumora_will_enter_foreground(void);

/** The person pressed a button, counted from 0; `text` is what the text field holds. Once for an alert; main
 *  thread. */
LUMORA_C_API lumora_result lumora_alert_press(lumora_alert alert, int32_t button, lumora_text text);
/** The notification was scheduled (no text), or could not be (why). Once; any thread. */
LUMORA_C_API lumora_result lumora_completion_finish(lumora_completion completion, lumora_text error);
/** The person tapped a part of a message, named as in its description's "elements"; `tapped`, which may be
 *  NULL, becomes false when the message is not shown or has no such part. Main thread. */
LUMORA_C_API lumora_result lumora_message_tap(uint64_t message, lumora_text element, bool* tapped);

/** @}
 *  @name Initialisation and tracking
 *  @{ */

/** Starts the library for an account and an application secret. `launch_options` is a map or none. */
LUMORA_C_API lumora_result lumora_initialize(lumora_text account, lumora_text secret,
                                             lumora_map launch_options);
/** Seconds that a configuration request may take, at least 5. */
LUMORA_C_API lumora_result lumora_set_timeout_interval(int64_t seconds);
/** Uploads what is stored. */
LUMORA_C_API lumora_result lumora_report_all(void);

LUMORA_C_API lumora_result lumora_start_session(lumora_text name);
LUMORA_C_API lumora_result lumora_end_session(lumora_text name);
/** Ends every open session, whatever type is given. */
LUMORA_C_API lumora_result lumora_end_all_sessions(lumora_text type);
/** Forgets every open session; may wait for an event that is being stored. */
LUMORA_C_API lumora_result lumora_discard_all_sessions(void);

/** Records an action with its details, or none. What is changed in the details between this call and the
 *  recording is recorded too. */
LUMORA_C_API lumora_result lumora_report_action(lumora_text name, lumora_action details);
/** The same with the details as a JSON object; no text is no details. */
LUMORA_C_API lumora_result lumora_report_action_json(lumora_text name, lumora_text details);

/** The details of an action; 0 when memory is lacking. A missing or empty text changes nothing. */
LUMORA_C_API lumora_action lumora_action_new(void);
LUMORA_C_API lumora_result lumora_action_set_type(lumora_action action, lumora_text type);
LUMORA_C_API lumora_result lumora_action_set_details(lumora_action action, lumora_text details);
/** A number that is not finite makes the whole action unrecordable. */
LUMORA_C_API lumora_result lumora_action_set_metric(lumora_action action, double metric);
LUMORA_C_API lumora_result lumora_action_set_length(lumora_action action, double length);
LUMORA_C_API lumora_result lumora_action_set_text(lumora_action action, lumora_text key, lumora_text value);
/** Replaces every detail by a map's entries, nested ones too. */
LUMORA_C_API lumora_result lumora_action_set_map(lumora_action action, lumora_map details);

/** Records the person's profile. */
LUMORA_C_API lumora_result lumora_associate_lead(lumora_lead lead);
/** A person; 0 when memory is lacking. */
LUMORA_C_API lumora_lead lumora_lead_new(void);
/** A missing or empty address, or one that is none, changes nothing. */
LUMORA_C_API lumora_result lumora_lead_set_email(lumora_lead lead, lumora_text email);
/** Any other attribute: "gender", "firstName", "lastName", "address", "city", "state", "country",
 *  "postalCode", "leadSource", "facebookId", "twitterId", "linkedInId", "dateOfBirth", "facebookProfileURL",
 *  "facebookPhotoURL", or a name of the host's own. A missing or empty text changes nothing. */
LUMORA_C_API lumora_result lumora_lead_set_text(lumora_lead lead, lumora_text key, lumora_text value);

/** @}
 *  @name Push and links
 *  @{ */

/** Stores the token before it returns; the rest is enqueued. */
LUMORA_C_API lumora_result lumora_register_push_token(lumora_data token);
/** Makes its request before it returns: seconds without a network. */
LUMORA_C_API lumora_result lumora_unregister_push_token(void);
LUMORA_C_API bool lumora_is_push_registered(void);
/** Handles a payload by the application's present state. */
LUMORA_C_API lumora_result lumora_handle_push(lumora_map payload);
/** Records that the person opened a notification. */
LUMORA_C_API lumora_result lumora_track_push(lumora_map notification);
/** The person tapped a notification that `schedule_notification` was given, or its like. Main thread. */
LUMORA_C_API lumora_result lumora_notification_tapped(const lumora_notification* notification);
/** Takes a link that the platform opened in the host; `handled`, which may be NULL, becomes whether it begins
 *  the registration of a test device. Main thread. */
LUMORA_C_API lumora_result lumora_open_url(lumora_text url, bool* handled);

/** @}
 *  @name Secure mode
 *  @{ */

/** What the host's own server signed; 0 when a field is missing or the address is none (the log names the
 *  field). */
LUMORA_C_API lumora_signature lumora_signature_new(lumora_text access_key, lumora_text signature,
                                                   lumora_text timestamp, lumora_text email);
/** Uploads what was held back, before it returns. None only removes the present signature. */
LUMORA_C_API lumora_result lumora_set_signature(lumora_signature signature);
LUMORA_C_API bool lumora_is_secure_mode_enabled(void);

/** @}
 *  @name Identifier and state
 *
 *  A text is written to a buffer of `capacity` bytes, with a NUL behind it; `length`, which may be NULL,
 *  becomes its length without the NUL, whether or not it fitted. A NULL buffer of capacity 0 only asks for
 * the length.
 *  @{ */

/** The identifier of this installation. */
LUMORA_C_API lumora_result lumora_get_device_id(char* buffer, size_t capacity, size_t* length);
/** The push token as text, empty when none is registered. */
LUMORA_C_API lumora_result lumora_get_push_token(char* buffer, size_t capacity, size_t* length);
LUMORA_C_API bool lumora_is_initialized(void);
LUMORA_C_API bool lumora_is_account_blocked(void);
LUMORA_C_API bool lumora_can_update(void);
LUMORA_C_API bool lumora_can_report(void);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
