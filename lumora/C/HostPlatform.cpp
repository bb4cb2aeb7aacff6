// The Linux platform with a C host's options and callbacks, its main queue, and what the host answers to
// callbacks.
#include "lumora/C/HostPlatform.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>
#include <vector>

#include "lumora/C/Arguments.h"
#include "lumora/C/Collections.h"
#include "lumora/InApp/MessageScreens.h"
#include "lumora/Platform/JSON.h"
#include "lumora/Platform/Linux/LinuxApplication.h"
#include "lumora/Platform/Linux/LinuxPlatform.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"

namespace lumora::c {

/// The button of an alert, or the end of a scheduling: each may be answered once.
template <typename Answer>
class Pending {
 public:
  explicit Pending(Answer answer) : answer_(std::move(answer)) {}

  template <typename... Arguments>
  void answer(Arguments&&... arguments) {
    if (isAnswered_.exchange(true)) fail(LUMORA_BAD_ARGUMENT);
    if (answer_) answer_(std::forward<Arguments>(arguments)...);
  }

 private:
  const Answer answer_;
  std::atomic<bool> isAnswered_ = false;
};

using PendingAlert = Pending<decltype(Alert::onButton)>;
using PendingCompletion = Pending<std::function<void(std::optional<std::string>)>>;

template <>
inline constexpr Kind kindOf<PendingAlert> = Kind::alert;
template <>
inline constexpr Kind kindOf<PendingCompletion> = Kind::completion;

namespace {

/// The host's options and what this file made of them, which refers to them; all live until the process ends.
struct Installed {
  lumora_options host;
  LinuxPlatform* platform = nullptr;
  MessageScreens* screens = nullptr;
};

std::atomic<const Installed*> installed = nullptr;

LinuxPlatform& linuxPlatform() {
  const Installed* own = installed;
  return own == nullptr ? LinuxPlatform::defaultInstance() : *own->platform;
}

std::string path(lumora_text text) {
  return optionalText(text).value_or("");
}

std::map<std::string, std::string, std::less<>> texts(lumora_map map) {
  std::map<std::string, std::string, std::less<>> texts;
  for (const auto& [key, value] : optionalMap(map).value_or(Dictionary{})) {
    if (const std::string* text = value.asString()) texts.emplace(key, *text);
  }
  return texts;
}

std::vector<std::string> textList(lumora_list list) {
  std::vector<std::string> texts;
  if (list == LUMORA_NONE) return texts;
  for (const Value& value : contentsOf<List>(list)) {
    if (const std::string* text = value.asString()) texts.push_back(*text);
  }
  return texts;
}

void showAlert(const lumora_options& host, const Alert& alert) {
  std::vector<lumora_text> buttons;
  std::ranges::transform(alert.buttons, std::back_inserter(buttons),
                         [](const std::string& button) { return view(button); });
  const lumora_alert_info info{.size = sizeof(info),
                               .title = view(alert.title),
                               .message = view(alert.message),
                               .buttons = buttons.data(),
                               .button_count = buttons.size(),
                               .text_field = optionalView(alert.textField)};
  host.show_alert(host.context, &info,
                  Handles::sharedInstance().add(std::make_shared<PendingAlert>(alert.onButton)));
}

void scheduleNotification(const lumora_options& host, const NotificationRequest& request,
                          std::function<void(std::optional<std::string>)> completion) {
  const std::string body = request.body.asString() ? *request.body.asString() : request.body.description();
  const std::string userInfo = writeJSON(request.userInfo).value_or("{}");
  const lumora_notification notification{.size = sizeof(notification),
                                         .identifier = view(request.identifier),
                                         .category = view(request.categoryIdentifier),
                                         .body = view(body),
                                         .user_info = view(userInfo),
                                         .badge = request.badge,
                                         .delay = request.delay,
                                         .default_sound = request.defaultSound};
  host.schedule_notification(
      host.context, &notification,
      Handles::sharedInstance().add(std::make_shared<PendingCompletion>(std::move(completion))));
}

void addTexts(const lumora_options& host, LinuxPlatformOptions& options) {
  options.documentsDirectory = path(host.documents_directory);
  options.cachesDirectory = path(host.caches_directory);
  options.settingsFile = path(host.settings_file);
  options.keychainFile = path(host.keychain_file);
  options.resourcesDirectory = path(host.resources_directory);
  options.info = texts(host.info);
  options.localizedTexts = texts(host.localized_texts);
  options.model = optionalText(host.model);
  options.systemVersion = optionalText(host.system_version);
  options.deviceName = optionalText(host.device_name);
  options.localeIdentifier = optionalText(host.locale_identifier);
  options.preferredLanguages = textList(host.preferred_languages);
  options.carrierName = optionalText(host.carrier_name);
  options.machineIdentifier = optionalText(host.machine_identifier);
  options.certificateAuthorityFile = path(host.certificate_authority_file);
  options.connectTo = path(host.connect_to);
}

LogDestination logDestination(lumora_log_destination destination) {
  switch (destination) {
    case LUMORA_LOG_STANDARD_ERROR:
      return LogDestination::standardError;
    case LUMORA_LOG_BARE_STANDARD_ERROR:
      return LogDestination::bareStandardError;
    case LUMORA_LOG_SYSLOG:
      return LogDestination::syslog;
    case LUMORA_LOG_JOURNAL:
      return LogDestination::journal;
    default:
      fail(LUMORA_BAD_ARGUMENT);
  }
}

void addLog(const lumora_options& host, LinuxPlatformOptions& options) {
  if (host.log_detail > LUMORA_LOG_TRACE) fail(LUMORA_BAD_ARGUMENT);
  options.logDetail = host.log_detail == LUMORA_LOG_TRACE ? LogDetail::trace : LogDetail::forDevelopers;
  options.logSink = logDestination(host.log_destination);
  if (host.log != nullptr)
    options.logSink = [&host](std::string_view message) { host.log(host.context, view(message)); };
}

void addCallbacks(const lumora_options& host, LinuxPlatformOptions& options) {
  if (host.open_url != nullptr)
    options.urlOpener = [&host](const URL& url) {
      return host.open_url(host.context, view(url.absoluteString()));
    };
  if (host.show_alert != nullptr)
    options.alertPresenter = [&host](const Alert& alert) { showAlert(host, alert); };
  if (host.schedule_notification != nullptr)
    options.notificationScheduler = [&host](const NotificationRequest& request, auto completion) {
      scheduleNotification(host, request, std::move(completion));
    };
}

/// The screens of a host that draws messages; null for any other.
std::unique_ptr<MessageScreens> makeScreens(const lumora_options& host, LinuxPlatformOptions& options) {
  if (host.show_message == nullptr) return nullptr;
  auto screens = std::make_unique<MessageScreens>(
      [&host](MessageScreens::MessageId message, const Dictionary& description) {
        const std::string json = writeJSON(description).value_or("{}");
        host.show_message(host.context, message, view(json));
      },
      [&host](MessageScreens::MessageId message) { host.dismiss_message(host.context, message); });
  options.rootViewController = [window = screens->window()] { return window; };
  options.layoutLoader = [layout = screens->layout()](const std::string&) { return layout; };
  return screens;
}

void install(const lumora_options& given) {
  auto kept = std::make_unique<Installed>(Installed{.host = given});
  const lumora_options& host = kept->host;
  if ((host.show_message == nullptr) != (host.dismiss_message == nullptr)) fail(LUMORA_BAD_ARGUMENT);
  LinuxPlatformOptions options;
  if (host.starts_in_background) options.initialState = ApplicationState::background;
  addTexts(host, options);
  addLog(host, options);
  addCallbacks(host, options);
  auto screens = makeScreens(host, options);
  auto made = std::make_unique<LinuxPlatform>(std::move(options));
  if (!tryInstallPlatform(made->platform())) fail(LUMORA_ALREADY_INSTALLED);
  kept->platform = made.release();
  kept->screens = screens.release();
  installed = kept.release();
}

}  // namespace

void requireMainThread() {
  if (!platform().queues.isMainThread()) fail(LUMORA_WRONG_THREAD);
}

NotificationRequest notificationRequest(const lumora_notification* notification) {
  const lumora_notification read = sized(notification);
  const auto userInfo = optionalText(read.user_info);
  return {.identifier = path(read.identifier),
          .categoryIdentifier = path(read.category),
          .body = Value(optionalText(read.body)),
          .userInfo = userInfo ? mapFromJSON(*userInfo) : Dictionary{},
          .badge = read.badge,
          .delay = read.delay,
          .defaultSound = read.default_sound};
}

}  // namespace lumora::c

using namespace lumora::c;
using lumora::LifecycleNotification;

namespace {

lumora_result post(lumora::ApplicationState state, LifecycleNotification notification) {
  return guarded([&] {
    requireMainThread();
    linuxPlatform().application().setState(state);
    linuxPlatform().application().post(notification);
  });
}

}  // namespace

lumora_result lumora_install(const lumora_options* options) {
  lumora_options host{};
  const lumora_result result = guarded([&] {
    host = sizedOrDefault(options);
    install(host);
  });
  if (result != LUMORA_OK && host.free_context != nullptr) host.free_context(host.context);
  return result;
}

lumora_result lumora_main_run(void) {
  return guarded([] {
    requireMainThread();
    linuxPlatform().mainQueue().run();
  });
}

lumora_result lumora_main_stop(void) {
  return guarded([] { linuxPlatform().mainQueue().stop(); });
}

lumora_result lumora_main_run_pending(size_t* count) {
  return guarded([&] {
    requireMainThread();
    const std::size_t ran = linuxPlatform().mainQueue().runPending();
    if (count != nullptr) *count = ran;
  });
}

int lumora_main_descriptor(void) {
  return guardedValue(-1, [] { return linuxPlatform().mainQueue().descriptor(); });
}

lumora_result lumora_main_async(void (*task)(void* context), void* context,
                                void (*free_context)(void* context)) {
  return guarded([&] {
    const auto kept = owned(context, free_context);
    if (task == nullptr) fail(LUMORA_BAD_ARGUMENT);
    linuxPlatform().mainQueue().async([task, kept] { task(kept.get()); });
  });
}

lumora_result lumora_did_enter_background(void) {
  return post(lumora::ApplicationState::background, LifecycleNotification::didEnterBackground);
}

lumora_result lumora_will_enter_foreground(void) {
  return post(lumora::ApplicationState::active, LifecycleNotification::willEnterForeground);
}

lumora_result lumora_alert_press(lumora_alert alert, int32_t button, lumora_text text) {
  return guarded([&] {
    requireMainThread();
    const std::string field = path(text);
    object<PendingAlert>(alert)->answer(button, field);
  });
}

lumora_result lumora_completion_finish(lumora_completion completion, lumora_text error) {
  return guarded([&] {
    auto why = optionalText(error);
    object<PendingCompletion>(completion)->answer(std::move(why));
  });
}

lumora_result lumora_message_tap(uint64_t message, lumora_text element, bool* tapped) {
  return guarded([&] {
    requireMainThread();
    const Installed* own = installed;
    if (tapped != nullptr) *tapped = false;
    const std::string part = requiredText(element);
    if (own == nullptr || own->screens == nullptr) return;
    const bool hit = own->screens->tap(message, part);
    if (tapped != nullptr) *tapped = hit;
  });
}
