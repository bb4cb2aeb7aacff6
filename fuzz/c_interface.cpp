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

/// Arguments are read in an order that the compiler chooses: good enough, as it always chooses the same.
constexpr std::array<Call, 32> kCalls{
    [](Input& in) { in.keep(lumora_map_new()); },
    [](Input& in) { in.keep(lumora_list_new()); },
    [](Input& in) { in.keep(lumora_action_new()); },
    [](Input& in) { in.keep(lumora_lead_new()); },
    [](Input& in) { in.keep(lumora_signature_new(in.text(), in.text(), in.text(), in.text())); },
    [](Input& in) {
      lumora_map map = LUMORA_NONE;
      lumora_map_from_json(in.text(), &map);
      in.keep(map);
    },
    [](Input& in) { lumora_free(in.handle()); },
    [](Input& in) { lumora_map_set_text(in.handle(), in.text(), in.text()); },
    [](Input& in) { lumora_map_set_integer(in.handle(), in.text(), in.byte()); },
    [](Input& in) { lumora_map_set_number(in.handle(), in.text(), 1.0 / in.byte()); },
    [](Input& in) { lumora_map_set_date(in.handle(), in.text(), 1e300 * in.byte()); },
    [](Input& in) { lumora_map_set_map(in.handle(), in.text(), in.handle()); },
    [](Input& in) { lumora_map_set_list(in.handle(), in.text(), in.handle()); },
    [](Input& in) {
      lumora_map_set_data(in.handle(), in.text(), {nullptr, in.byte() % 2});
    },
    [](Input& in) { lumora_list_add_text(in.handle(), in.text()); },
    [](Input& in) { lumora_list_add_map(in.handle(), in.handle()); },
    [](Input& in) { lumora_list_add_list(in.handle(), in.handle()); },
    [](Input& in) { lumora_action_set_type(in.handle(), in.text()); },
    [](Input& in) { lumora_action_set_metric(in.handle(), 1.0 / in.byte()); },
    [](Input& in) { lumora_action_set_map(in.handle(), in.handle()); },
    [](Input& in) { lumora_action_set_text(in.handle(), in.text(), in.text()); },
    [](Input& in) { lumora_report_action(in.text(), in.handle()); },
    [](Input& in) { lumora_report_action_json(in.text(), in.text()); },
    [](Input& in) { lumora_lead_set_email(in.handle(), in.text()); },
    [](Input& in) { lumora_associate_lead(in.handle()); },
    [](Input& in) { lumora_set_signature(in.handle()); },
    [](Input& in) { lumora_handle_push(in.handle()); },
    [](Input& in) { lumora_track_push(in.handle()); },
    [](Input& in) { lumora_open_url(in.text(), nullptr); },
    [](Input& in) { lumora_alert_press(in.handle(), static_cast<int32_t>(in.byte()), in.text()); },
    [](Input& in) { lumora_completion_finish(in.handle(), in.text()); },
    [](Input& in) { lumora_message_tap(in.byte(), in.text(), nullptr); },
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  auto& host = lumora::fuzz::initializedLibrary();
  Input input(data, size);
  while (!input.isEmpty()) kCalls[input.byte() % kCalls.size()](input);
  input.freeAll();
  lumora::fuzz::settle(host);
  lumora::LMRDataManager::sharedInstance().cleanUpAppEvents();
  return 0;
}
