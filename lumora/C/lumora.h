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
 * must not throw, panic or jump out. The main thread is the one that called `lumora_install`; it runs the
 * library's tasks by `lumora_main_run`, or by `lumora_main_run_pending` from a loop of the host's own.
 *
 * Texts are UTF-8 with their length; they may hold NUL. The library copies what it is given before a function
 * returns, and what it hands to a callback lasts until the callback returns. A text without bytes ({NULL, 0})
 * is no text, which is something else than an empty one.
 *
 * Objects are handles: numbers that the caller frees with `lumora_free`, each once. 0 (`LUMORA_NONE`) is no
 * object. A handle that was freed, or one of another kind, is recognised: the function does nothing and says
 * so. No number comes twice. An object may be used by several threads, and may be freed while another
 * function uses it.
 *
 * Structures begin with their size, which whoever fills one in sets: `sizeof` of the structure as that side
 * knows it. Zeros behind it are every default. Fields that one of the two sides does not know are left alone
 * or have their defaults, so programs and libraries of different ages understand each other. Padding is the C
 * compiler's.
 *
 * Failures: a function gives a result, 0 or a negative number; `lumora_result_text` explains it. Whatever it
 * is, nothing was half done. What the library itself refuses, such as an action without a name, is a line in
 * its log and no result, since it is found on the library's own queue. After `lumora_shutdown` or
 * `lumora_erase_all_data`, and while consent is denied, calls of the library are ignored with `LUMORA_OK`;
 * objects are made and freed as before.
 */

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

/** Marks what the shared library offers to a host. */
#if defined(__GNUC__)
#define LUMORA_C_API __attribute__((visibility("default")))
#else
#define LUMORA_C_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** @name Results
 *  @{ */

/** What came of a call: `LUMORA_OK`, or a failure. Unknown negative numbers, of a newer library, are failures
 * too. */
typedef int32_t lumora_result;

enum {
  LUMORA_OK = 0,
  /** A handle that is freed, of another kind, or none where one is needed. */
  LUMORA_BAD_HANDLE = -1,
  /** A text that is not UTF-8, that has a length and no bytes, or none where one is needed. */
  LUMORA_BAD_TEXT = -2,
  /** A pointer that is null where one is needed, a structure whose size is none, a number out of its range,
   * an answer that was given before. */
  LUMORA_BAD_ARGUMENT = -3,
  /** A text that is not JSON of the kind that is needed, or nested deeper than 512. */
  LUMORA_BAD_JSON = -4,
  /** The buffer is too small; the length that is needed was given. */
  LUMORA_BUFFER_TOO_SMALL = -5,
  /** The library is in use already, with the options that it was given then or with default ones. */
  LUMORA_ALREADY_INSTALLED = -6,
  /** Only the main thread may do this. */
  LUMORA_WRONG_THREAD = -7,
  LUMORA_OUT_OF_MEMORY = -8,
  /** A fault of the library. */
  LUMORA_INTERNAL_ERROR = -9,
  /** Maps and lists nested deeper than 512, or than 511 in an action, whose event is one level more. */
  LUMORA_TOO_DEEP = -10
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
typedef lumora_handle lumora_keeper;

/** No object: 0, in a language that does not read macros. */
#define LUMORA_NONE ((lumora_handle)0)

/** Frees an object of any kind; none is fine. */
LUMORA_C_API lumora_result lumora_free(lumora_handle object);

/** @}
 *  @name Maps and lists
 *
 *  What payloads and launch options are made of. A value that is set again replaces the earlier one; a map or
 * a list is copied into the one that takes it. `lumora_map_new` and `lumora_list_new` give 0 when memory is
 * lacking.
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

/** Where the log's lines go; `lumora/Platform/Linux/LogOptions.h` tells what each does. */
typedef uint32_t lumora_log_destination;

enum {
  /** One line each; with the time and colours on a terminal. */
  LUMORA_LOG_STANDARD_ERROR = 0,
  /** The bare lines, and a slow reader is waited for. */
  LUMORA_LOG_BARE_STANDARD_ERROR = 1,
  LUMORA_LOG_SYSLOG = 2,
  LUMORA_LOG_JOURNAL = 3
};

/** Which lines there are. */
typedef uint32_t lumora_log_detail;

enum {
  /** None of them holds a secret, a token, or anything of a person. */
  LUMORA_LOG_FOR_DEVELOPERS = 0,
  /** Every line, with what people entered and the account's secret: for a developer's own machine only. */
  LUMORA_LOG_TRACE = 1
};

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
 * Entries of a map or a list that are no texts are left out. The library copies everything but the context;
 * the host frees its maps and lists.
 */
typedef struct lumora_options {
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
  /** Texts like "de-DE", the favourite first. */
  lumora_list preferred_languages;
  lumora_text carrier_name;
  lumora_text machine_identifier;

  lumora_text certificate_authority_file;
  lumora_text connect_to;

  /** What every callback is given first; `free_context` is called with it when the library needs it no more:
   * at once when `lumora_install` fails, otherwise never. */
  void* context;
  void (*free_context)(void* context);

  /** Receives the log's lines instead of the destination. Any thread, also while the library holds its locks:
   * it must not call the library, nor take long. */
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

  lumora_log_destination log_destination;
  lumora_log_detail log_detail;
  /** The application has not come to the foreground yet. */
  bool starts_in_background;
} lumora_options;

/** Every default: zeros, and the size as this header knows it. */
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
 * many they were. Main thread; never blocks. */
LUMORA_C_API lumora_result lumora_main_run_pending(size_t* count);
/** A file descriptor that is readable while tasks wait; -1 when memory is lacking. It is the library's: only
 * poll it. */
LUMORA_C_API int lumora_main_descriptor(void);
/** Has a task run on the main thread. `free_context`, which may be NULL, is called after it, or at once on
 * failure. */
LUMORA_C_API lumora_result lumora_main_async(void (*task)(void* context), void* context,
                                             void (*free_context)(void* context));

/** The application has gone to the background, or comes back from there. Main thread. */
LUMORA_C_API lumora_result lumora_did_enter_background(void);
LUMORA_C_API lumora_result lumora_will_enter_foreground(void);

/** The person pressed a button, counted from 0; `text` is what the text field holds. Once for an alert; main
 * thread. */
LUMORA_C_API lumora_result lumora_alert_press(lumora_alert alert, int32_t button, lumora_text text);
/** The notification was scheduled (no text), or could not be (why). Once; any thread. */
LUMORA_C_API lumora_result lumora_completion_finish(lumora_completion completion, lumora_text error);
/** The person tapped a part of a message, named as in its description's "elements"; `tapped`, which may be
 * NULL, becomes false when the message is not shown or has no such part. Main thread. */
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

/** Records an action with its details as they are now, or none. The details may be changed and used again. */
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
/** Replaces every detail by a map's entries, nested ones too, and so the type and the metric that were set
 * before. What JSON does not have, data and dates, makes the whole action unrecordable. */
LUMORA_C_API lumora_result lumora_action_set_map(lumora_action action, lumora_map details);

/** Records the person's profile as it is now. */
LUMORA_C_API lumora_result lumora_associate_lead(lumora_lead lead);
/** A person; 0 when memory is lacking. */
LUMORA_C_API lumora_lead lumora_lead_new(void);
/** A missing or empty address, or one that is none, changes nothing. */
LUMORA_C_API lumora_result lumora_lead_set_email(lumora_lead lead, lumora_text email);
/** Any other attribute: "gender", "firstName", "lastName", "address", "city", "state", "country",
 * "postalCode", "leadSource", "facebookId", "twitterId", "linkedInId", "dateOfBirth", "facebookProfileURL",
 * "facebookPhotoURL", or a name of the host's own. A missing or empty text changes nothing. */
LUMORA_C_API lumora_result lumora_lead_set_text(lumora_lead lead, lumora_text key, lumora_text value);

/** @}
 *  @name The end
 *  @{ */

/**
 * Waits until everything that was called before is stored and uploaded; `is_empty`, which may be NULL,
 * becomes true when no event waits any more, and false when the time was over, when the upload failed, or on
 * a thread of the library's own. Blocks for up to `timeout_ms`; costs a request.
 */
LUMORA_C_API lumora_result lumora_flush(int64_t timeout_ms, bool* is_empty);
/**
 * Ends the library for this process: what was called before is stored, a request under way is aborted, its
 * threads end. Every later call is ignored. Blocks for up to `timeout_ms`. For a host that unloads itself
 * before the process ends, as a plug-in or an interpreter does; others just return from `main` or call
 * `exit`, and lose nothing.
 *
 * A host that goes away itself waits for this, and removes its observer: afterwards nothing but `log` is
 * called any more, and that only when the library is.
 */
LUMORA_C_API lumora_result lumora_shutdown(int64_t timeout_ms);

/** @}
 *  @name Privacy
 *  @{ */

/** What the person said to tracking. */
typedef uint32_t lumora_consent;

enum {
  /** Nothing yet: the library works. */
  LUMORA_CONSENT_UNKNOWN = 0,
  LUMORA_CONSENT_GRANTED = 1,
  /** The library records, sends and shows nothing. */
  LUMORA_CONSENT_DENIED = 2
};

/** Stores it; it holds from now on and in later runs. When consent is denied, `erase_waiting` has the events
 * that wait for their upload overwritten and deleted; otherwise they are uploaded once consent is given. */
LUMORA_C_API lumora_result lumora_set_tracking_consent(lumora_consent consent, bool erase_waiting);
LUMORA_C_API lumora_consent lumora_tracking_consent(void);
/** Erases everything that the library keeps but the consent. It is on its way when this returns;
 * `lumora_shutdown` and the end of the process wait for it. Every call is ignored until the next start, that
 * of a new installation. */
LUMORA_C_API lumora_result lumora_erase_all_data(void);

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
 * the registration of a test device. Main thread. */
LUMORA_C_API lumora_result lumora_open_url(lumora_text url, bool* handled);

/** @}
 *  @name Secure mode
 *  @{ */

/** What the host's own server signed; 0 when a field is missing or the address is none (the log names the
 * field). */
LUMORA_C_API lumora_signature lumora_signature_new(lumora_text access_key, lumora_text signature,
                                                   lumora_text timestamp, lumora_text email);
/** Uploads what was held back, before it returns. None only removes the present signature. */
LUMORA_C_API lumora_result lumora_set_signature(lumora_signature signature);
LUMORA_C_API bool lumora_is_secure_mode_enabled(void);

/** @}
 *  @name Identifier and state
 *
 *  A text is written to a buffer of `capacity` bytes, with a NUL behind it; `length`, which may be NULL,
 * becomes its length without the NUL, whether or not it fitted. A NULL buffer of capacity 0 only asks for the
 * length.
 *  @{ */

/** The identifier of this installation. */
LUMORA_C_API lumora_result lumora_get_device_id(char* buffer, size_t capacity, size_t* length);
/** The push token as text, empty when none is registered. */
LUMORA_C_API lumora_result lumora_get_push_token(char* buffer, size_t capacity, size_t* length);
LUMORA_C_API bool lumora_is_initialized(void);
LUMORA_C_API bool lumora_is_account_blocked(void);
LUMORA_C_API bool lumora_can_update(void);
LUMORA_C_API bool lumora_can_report(void);

/** @}
 *  @name What happens inside
 *  @{ */

/** Why something failed. */
typedef uint32_t lumora_reason;

enum {
  LUMORA_REASON_NONE = 0,
  /** The account or the secret is empty. */
  LUMORA_REASON_CREDENTIALS_MISSING = 1,
  /** The settings store refuses the account. */
  LUMORA_REASON_CREDENTIALS_NOT_STORED = 2,
  /** The host's information has no "CFBundleShortVersionString". */
  LUMORA_REASON_APPLICATION_VERSION_MISSING = 3,
  /** No answer came; the code is the URL loader's. */
  LUMORA_REASON_NETWORK = 4,
  /** What came is no JSON object or list; the code is the status. */
  LUMORA_REASON_MALFORMED_ANSWER = 5,
  /** The service answered that it will not; the code is the status. */
  LUMORA_REASON_REFUSED = 6,
  /** The service has nothing new: no configuration to start with. */
  LUMORA_REASON_NOT_MODIFIED = 7,
  /** The service has disabled the account for this application. */
  LUMORA_REASON_BLOCKED = 8,
  /** Secure mode is on, and no signature is set. */
  LUMORA_REASON_SIGNATURE_MISSING = 9,
  /** Another process of this application was uploading for too long. */
  LUMORA_REASON_OTHER_PROCESS = 10,
  /** A shutdown, an erasure or a denied consent has cut the request short. */
  LUMORA_REASON_ABORTED = 11
};

typedef struct lumora_error {
  size_t size;
  lumora_reason reason;
  int32_t code;
  /** The loader's or the service's own words, for people; may be empty. */
  lumora_text message;
} lumora_error;

/** Why an event is not stored any more, or never was. */
typedef uint32_t lumora_loss;

enum {
  /** It holds what JSON does not have: a number that is not finite. */
  LUMORA_LOSS_NOT_JSON = 0,
  /** As many events wait as may, and its kind is not crucial. */
  LUMORA_LOSS_QUEUE_FULL = 1,
  /** The database could not be written. */
  LUMORA_LOSS_STORE_FAILED = 2
};

/**
 * Is told what goes on. Every callback may be NULL.
 *
 * They come on the main thread, one at a time, in the order of what happened, and may call the library. While
 * the host does not run the main thread's tasks, 64 notices wait; a further one takes the place of the
 * oldest.
 */
typedef struct lumora_observer {
  size_t size;
  /** What every callback is given first. `free_context` is called with it once, on any thread, when none of
   * them is called any more: another observer was set and no call is under way, or this one was refused. */
  void* context;
  void (*free_context)(void* context);

  void (*initialized)(void* context);
  /** An attempt to initialise came to nothing, the host's own or a keeper's. */
  void (*initialization_failed)(void* context, const lumora_error* error);
  /** The service's answer to a request for the configuration; the bad campaigns are counted too. */
  void (*configuration_received)(void* context, bool is_blocked, uint64_t campaigns);
  /** A campaign that cannot be shown ("nil" for one without an identifier), and what is missing or bad in it.
   */
  void (*campaign_dropped)(void* context, lumora_text campaign, lumora_text part);
  void (*message_shown)(void* context, lumora_text campaign);
  /** A tap has closed it. */
  void (*message_dismissed)(void* context, lumora_text campaign);
  /** The service has taken these events, and they wait no more. */
  void (*upload_finished)(void* context, uint64_t events, int64_t duration_ms);
  /** They wait for the next upload. */
  void (*upload_failed)(void* context, const lumora_error* error);
  /** So many events are lost for good. */
  void (*events_dropped)(void* context, lumora_loss why, uint64_t count);
} lumora_observer;

/** Replaces the observer, which is copied; NULL removes it. Once this returns the earlier one is called no
 * more, unless another thread is in a call of it. */
LUMORA_C_API lumora_result lumora_set_observer(const lumora_observer* observer);

typedef uint32_t lumora_operation;

enum { LUMORA_OPERATION_INITIALIZATION = 0, LUMORA_OPERATION_CONFIGURATION = 1, LUMORA_OPERATION_UPLOAD = 2 };

/** How the library stands at one moment. Dates are seconds since 1970-01-01 UTC; 0 is never. */
typedef struct lumora_status {
  size_t size;
  bool is_initialized;
  bool is_blocked;
  /** The stored events that no upload has delivered yet; -1 when the database cannot be read now. */
  int64_t waiting_events;
  /** When the configuration was last asked for, and an upload last begun, in an earlier run too; whether or
   * not that succeeded. An initialisation that asks first counts only once it has completed. */
  double last_sync;
  double last_upload;
  /** The last thing that failed in this run; `LUMORA_REASON_NONE` when nothing did. */
  lumora_reason last_error;
  int32_t last_error_code;
  lumora_operation last_error_operation;
  double last_error_date;
  /** Cut between two characters, and ended by NUL. */
  char last_error_message[256];
} lumora_status;

/** Fills in the caller's structure, as far as its `size` reaches. Reads the database: while another process
 * holds that, it blocks for 0.2 s at most on the main thread, for 10 s elsewhere. */
LUMORA_C_API lumora_result lumora_get_status(lumora_status* status);

/** How often a keeper acts; 0 is the default. */
typedef struct lumora_keeper_options {
  size_t size;
  /** Seconds that the first event waits for an upload: 60, at least 5. */
  int64_t upload_after;
  /** Seconds after the last request until the configuration is asked for again: 6 hours, at least 10. */
  int64_t refresh_every;
} lumora_keeper_options;

/**
 * Keeps the library in touch with the service, without a trigger of the host's, until the caller frees it:
 * uploads what waits, asks for the configuration again, repeats an initialisation that failed. For a host
 * that runs for long, or starts offline. NULL is every default. One at a time: a second one writes a line and
 * does nothing.
 */
LUMORA_C_API lumora_result lumora_keeper_new(const lumora_keeper_options* options, lumora_keeper* keeper);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
