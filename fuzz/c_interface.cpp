// Calls of the C interface in any order, with handles that are good, freed, of another kind, or made up.
#include <array>
#include <cstdint>
#include <vector>

#include "fuzz/FuzzedLibrary.h"
#include "lumora/C/lumora.h"
#include "lumora/Storage/LMRDataManager.h"

namespace {

/// Takes the input apart: small numbers, texts, handles.
class Input {
 public:
  Input(const unsigned char* data, std::size_t size) : data_(data), size_(size) {}

  bool isEmpty() const { return size_ == 0; }
  unsigned byte() {
    if (size_ == 0) return 0;
    --size_;
    return *data_++;
  }
  lumora_text text() {
    const unsigned length = byte() % 16;
    if (length == 15) return {nullptr, byte() % 2};
    const char* bytes = reinterpret_cast<const char*>(data_);
    const std::size_t taken = length < size_ ? length : size_;
    data_ += taken;
    size_ -= taken;
    return {bytes, taken};
  }
  lumora_handle handle() {
    const unsigned chosen = byte();
    if (chosen == 255) return (static_cast<lumora_handle>(byte()) << 32U) | byte() << 24U | byte();
    return handles_.empty() ? LUMORA_NONE : handles_[chosen % handles_.size()];
  }
  void keep(lumora_handle handle) { handles_.push_back(handle); }
  void freeAll() {
    for (const auto handle : handles_) lumora_free(handle);
  }

 private:
  const unsigned char* data_;
  std::size_t size_;
  std::vector<lumora_handle> handles_;
};

using Call = void (*)(Input&);

/// A structure that begins with its size: full, too short, or none at all.
template <typename Structure>
const Structure* sized(Structure& structure, unsigned chosen) {
  constexpr std::array<std::size_t, 4> kSizes{sizeof(Structure), sizeof(Structure) / 2, sizeof(std::size_t),
                                              0};
  structure.size = kSizes.at(chosen % kSizes.size());
  return chosen < 250 ? &structure : nullptr;
}

void observe(Input& in) {
  lumora_observer observer{};
  observer.campaign_dropped = [](void*, lumora_text, lumora_text) { lumora_set_observer(nullptr); };
  observer.upload_finished = [](void*, std::uint64_t, std::int64_t) { lumora_report_all(); };
  observer.events_dropped = [](void*, lumora_loss, std::uint64_t) {};
  lumora_set_observer(sized(observer, in.byte()));
}

void tapNotification(Input& in) {
  lumora_notification notification{};
  notification.identifier = in.text();
  notification.body = in.text();
  notification.user_info = in.text();
  lumora_notification_tapped(sized(notification, in.byte()));
}

void keepInTouch(Input& in) {
  lumora_keeper_options options{0, in.byte() - 1, in.byte()};
  lumora_keeper keeper = LUMORA_NONE;
  lumora_keeper_new(sized(options, in.byte()), &keeper);
  in.keep(keeper);
}

void askForStatus(Input& in) {
  lumora_status status{};
  sized(status, in.byte());
  lumora_get_status(&status);
}

void installAgain(Input& in) {
  lumora_options options{};
  options.info = in.handle();
  options.preferred_languages = in.handle();
  options.locale_identifier = in.text();
  options.log_destination = in.byte();
  lumora_install(sized(options, in.byte()));
}

void askForTexts(Input& in) {
  std::array<char, 64> buffer{};
  std::size_t length = 0;
  lumora_get_device_id(buffer.data(), in.byte() % buffer.size(), &length);
  lumora_get_push_token(in.byte() % 2 == 0 ? nullptr : buffer.data(), in.byte() % buffer.size(), nullptr);
}

void askForState(Input& in) {
  static_cast<void>(lumora_result_text(static_cast<lumora_result>(in.byte()) - 128));
  lumora_is_initialized();
  lumora_is_account_blocked();
  lumora_can_update();
  lumora_can_report();
  lumora_is_push_registered();
  lumora_is_secure_mode_enabled();
  lumora_tracking_consent();
  lumora_version();
  lumora_string(nullptr);
}

/// What acts on the Linux platform, which is made for it beside the fake one.
void callThePlatform(Input& in) {
  lumora_main_async(
      in.byte() % 2 == 0 ? nullptr : +[](void*) {}, nullptr, [](void*) {});
  lumora_main_run_pending(nullptr);
  lumora_main_stop();
  lumora_main_descriptor();
  lumora_did_enter_background();
  lumora_will_enter_foreground();
}

lumora_data data(Input& in) {
  const lumora_text text = in.text();
  return {reinterpret_cast<const std::uint8_t*>(text.bytes), text.length};
}

/// Every function but `lumora_main_run`, which blocks, and those that end the library for the whole process:
/// `lumora_shutdown`, `lumora_erase_all_data`. New ones go to the end, so that the corpus keeps its meaning.
///
/// Arguments are read in an order that the compiler chooses: good enough, as it always chooses the same.
constexpr auto kCalls = std::to_array<Call>({
    [](Input& in) { in.keep(lumora_map_new()); },
    [](Input& in) { in.keep(lumora_list_new()); },
    [](Input& in) { in.keep(lumora_action_new()); },
    [](Input& in) { in.keep(lumora_lead_new()); },
    [](Input& in) { in.keep(lumora_signature_new(in.text(), in.text(), in.text(), in.text())); },
    [](Input& in) {
      lumora_map map = LUMORA_NONE;
      lumora_map_from_json(in.text(), in.byte() == 255 ? nullptr : &map);
      in.keep(map);
    },
    [](Input& in) { lumora_free(in.handle()); },
    [](Input& in) { lumora_map_set_text(in.handle(), in.text(), in.text()); },
    [](Input& in) { lumora_map_set_integer(in.handle(), in.text(), in.byte()); },
    [](Input& in) { lumora_map_set_number(in.handle(), in.text(), 1.0 / in.byte()); },
    [](Input& in) { lumora_map_set_bool(in.handle(), in.text(), true); },
    [](Input& in) { lumora_map_set_date(in.handle(), in.text(), 1e300 * in.byte()); },
    [](Input& in) { lumora_map_set_map(in.handle(), in.text(), in.handle()); },
    [](Input& in) { lumora_map_set_list(in.handle(), in.text(), in.handle()); },
    [](Input& in) { lumora_map_set_data(in.handle(), in.text(), data(in)); },
    [](Input& in) { lumora_map_set_null(in.handle(), in.text()); },
    [](Input& in) { lumora_list_add_text(in.handle(), in.text()); },
    [](Input& in) { lumora_list_add_integer(in.handle(), in.byte()); },
    [](Input& in) { lumora_list_add_number(in.handle(), 1.0 / in.byte()); },
    [](Input& in) { lumora_list_add_bool(in.handle(), false); },
    [](Input& in) { lumora_list_add_data(in.handle(), data(in)); },
    [](Input& in) { lumora_list_add_date(in.handle(), -1e300 * in.byte()); },
    [](Input& in) { lumora_list_add_map(in.handle(), in.handle()); },
    [](Input& in) { lumora_list_add_list(in.handle(), in.handle()); },
    [](Input& in) { lumora_list_add_null(in.handle()); },
    [](Input& in) { lumora_action_set_type(in.handle(), in.text()); },
    [](Input& in) { lumora_action_set_details(in.handle(), in.text()); },
    [](Input& in) { lumora_action_set_metric(in.handle(), 1.0 / in.byte()); },
    [](Input& in) { lumora_action_set_length(in.handle(), 1.0 / in.byte()); },
    [](Input& in) { lumora_action_set_map(in.handle(), in.handle()); },
    [](Input& in) { lumora_action_set_text(in.handle(), in.text(), in.text()); },
    [](Input& in) { lumora_report_action(in.text(), in.handle()); },
    [](Input& in) { lumora_report_action_json(in.text(), in.text()); },
    [](Input& in) { lumora_lead_set_email(in.handle(), in.text()); },
    [](Input& in) { lumora_lead_set_text(in.handle(), in.text(), in.text()); },
    [](Input& in) { lumora_associate_lead(in.handle()); },
    [](Input& in) { lumora_set_signature(in.handle()); },
    [](Input& in) { lumora_initialize(in.text(), in.text(), in.handle()); },
    [](Input& in) { lumora_set_timeout_interval(std::int64_t{in.byte()} - 128); },
    [](Input&) { lumora_report_all(); },
    [](Input& in) { lumora_start_session(in.text()); },
    [](Input& in) { lumora_end_session(in.text()); },
    [](Input& in) { lumora_end_all_sessions(in.text()); },
    [](Input&) { lumora_discard_all_sessions(); },
    [](Input& in) { lumora_register_push_token(data(in)); },
    [](Input&) { lumora_unregister_push_token(); },
    [](Input& in) { lumora_handle_push(in.handle()); },
    [](Input& in) { lumora_track_push(in.handle()); },
    [](Input& in) { lumora_open_url(in.text(), nullptr); },
    [](Input& in) { lumora_alert_press(in.handle(), static_cast<int32_t>(in.byte()), in.text()); },
    [](Input& in) { lumora_completion_finish(in.handle(), in.text()); },
    [](Input& in) { lumora_message_tap(in.byte(), in.text(), nullptr); },
    [](Input& in) { lumora_set_tracking_consent(in.byte() % 4, in.byte() % 2 == 0); },
    [](Input& in) { lumora_flush(in.byte(), nullptr); },
    tapNotification,
    observe,
    keepInTouch,
    askForStatus,
    installAgain,
    askForTexts,
    askForState,
    callThePlatform,
});

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  auto& host = lumora::fuzz::initializedLibrary();
  Input input(data, size);
  while (!input.isEmpty()) kCalls[input.byte() % kCalls.size()](input);
  input.freeAll();
  lumora_set_observer(nullptr);
  lumora_set_tracking_consent(LUMORA_CONSENT_UNKNOWN, false);
  lumora::fuzz::settle(host);
  lumora::LMRDataManager::sharedInstance().cleanUpAppEvents();
  return 0;
}
