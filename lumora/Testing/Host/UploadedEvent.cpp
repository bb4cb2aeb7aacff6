// Event records as values. Their keys are those of Util/EventKeys.h; who builds the records is
// Events/LMREventLoggerRecords.cpp.
#include "lumora/Testing/Host/UploadedEvent.h"

#include <ostream>
#include <string_view>
#include <utility>

#include "lumora/Platform/JSON.h"
#include "lumora/Util/EventKeys.h"
#include "lumora/Util/LumoraConstants.h"

namespace lumora::testing {
namespace {

struct KindOfRecord {
  std::string_view eventType;
  EventKind kind;
  /// Where the record keeps its details.
  std::string_view detailsKey;
};

constexpr KindOfRecord kinds[] = {
    {KEY_CHECKPOINT, EventKind::action, KEY_META},
    {KEY_SESSION, EventKind::session, {}},
    {KEY_EVENT_INIT, EventKind::clientInformation, KEY_DEVICE_STATE},
    {KEY_EVENT_USER, EventKind::profile, KEY_EVENT_USER},
    {KEY_EVENT_PUSH, EventKind::push, KEY_EVENT_PUSH},
    {KEY_INAPP, EventKind::messageTap, KEY_INAPP},
    {KEY_UPDATE_TEST_DEVICE, EventKind::testDevice, {}},
};

std::string textAt(const Dictionary& map, std::string_view key) {
  const Value* value = findValue(map, key);
  return value ? value->description() : std::string();
}

}  // namespace

UploadedEvent UploadedEvent::fromRecord(Dictionary record) {
  UploadedEvent event;
  const std::string eventType = textAt(record, KEY_EVENT_TYPE);
  for (const KindOfRecord& known : kinds) {
    if (known.eventType != eventType) continue;
    event.kind = known.kind;
    if (const Dictionary* details = findMap(record, known.detailsKey)) event.details = *details;
  }
  event.name = textAt(record, KEY_NAME);
  const bool isInternal = textAt(record, KEY_TYPE) == KEY_TYPE_INTERNAL;
  if (isInternal && event.name == kLmroAppOpen) event.kind = EventKind::appOpen;
  if (event.kind == EventKind::push || event.kind == EventKind::messageTap) {
    event.campaign = textAt(event.details, KEY_INAPP_CAMPAING_ID);
  }
  if (const Value* time = findValue(record, KEY_TIMESTAMP)) event.time = dateFromSeconds(time->doubleValue());
  if (const Value* duration = findValue(record, KEY_SESSION_DURATION)) {
    event.duration = std::chrono::seconds(duration->integerValue());
  }
  event.record = std::move(record);
  return event;
}

std::ostream& operator<<(std::ostream& stream, const UploadedEvent& event) {
  return stream << writeJSON(event.record).value_or("an event that is no JSON");
}

}  // namespace lumora::testing
