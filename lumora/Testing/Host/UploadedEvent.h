#pragma once

#include <chrono>
#include <iosfwd>
#include <string>

#include "lumora/Platform/Export.h"
#include "lumora/Platform/Value.h"

namespace lumora::testing {

/// What an event is about.
enum class EventKind {
  /// What the host, its device and its person's settings are; recorded once per installation or update.
  clientInformation,
  /// The application's own session began.
  appOpen,
  /// `reportAction`.
  action,
  /// A session that ended, the application's own ("lmr_app_session") included.
  session,
  /// `associateLead`.
  profile,
  /// A push token, a delivered notification, or an opened one.
  push,
  /// A tap on a message.
  messageTap,
  /// The push token of a test device.
  testDevice,
  /// None of these.
  other
};

/// One event as the service received it.
struct UploadedEvent {
  EventKind kind = EventKind::other;
  /// The name of an action or a session; empty with the other kinds.
  std::string name;
  /// The campaign of a tap, or of a push notification; empty with the other kinds.
  std::string campaign;
  /// When it was recorded, in whole seconds.
  Date time{};
  /// How long a session lasted; zero with the other kinds.
  std::chrono::seconds duration{0};
  /// The metadata of an action, the fields of a profile, the device's state, or what a push event or a tap
  /// consists of. Empty when there is none.
  Dictionary details;
  /// The whole record.
  Dictionary record;

  /// Reads a record. What it lacks stays empty.
  LUMORA_EXPORT static UploadedEvent fromRecord(Dictionary record);
};

/// Writes the record as JSON, so that a failed expectation shows the event.
LUMORA_EXPORT std::ostream& operator<<(std::ostream& stream, const UploadedEvent& event);

}  // namespace lumora::testing
