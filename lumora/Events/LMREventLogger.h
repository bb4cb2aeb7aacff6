#pragma once

#include <atomic>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "lumora/Events/EventObserver.h"
#include "lumora/Events/UploadObserver.h"
#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/Value.h"

namespace lumora {

/// The event pipeline: builds event records, keeps the table of open sessions, and uploads what is stored.
///
/// A record is stored as one row until an upload that the service accepted deletes it. The logger is a lock
/// that its holder may take again: builders and session operations hold it. Uploads have a lock of their own,
/// so that nothing is recorded later because of one. Any thread may call; an upload blocks its own.
class LMREventLogger {
 public:
  static LMREventLogger& sharedInstance();

  /// Names who is told of every event and session; it must live as long as the process.
  void setObserver(EventObserver& observer) noexcept { observer_ = &observer; }

  /// Names who is told of what waits and of uploads; it must live as long as the process.
  void setUploadObserver(UploadObserver& observer) noexcept { uploadObserver_ = &observer; }

  // Records.

  /// A new record: the kind of event and the present second.
  Dictionary getEventSkeleton(std::string_view eventType);
  /// Tells the observer, then stores the record, and ahead of it the client information when that is still
  /// due.
  void saveEvent(const Dictionary& event);
  /// Without metadata the record has no such entry.
  void reportCheckpoint(const std::string& name, std::string_view type,
                        const std::optional<Dictionary>& meta);
  void reportAppOpen();
  void reportClientInfo();
  void reportUserAttributes(const Dictionary& attributes);
  void reportPushToken(const std::string& token);
  void clearPushToken();
  Dictionary getPushSubEvent(std::string_view subtype, const Value& campaignId) const;
  void reportPushOpened(const Value& campaignId);
  void reportPushDelivered(const Value& campaignId);
  void reportPushOpen(const std::optional<Dictionary>& launchOptions);
  /// The campaign and the subtype are recorded only when both are there; the event is recorded always.
  void reportInappWithSubType(const std::optional<std::string>& subtype,
                              const std::optional<std::string>& campaignId);
  /// Only on a test device.
  void reportTestPushToken(const std::string& token);

  // Sessions.

  /// False, with a line, when the session is open already or too many are.
  bool startSession(const std::string& name);
  bool isSessionOpen(std::string_view name) const;
  /// Records the session's duration and closes it; a session younger than a second stays open.
  void endSession(const std::string& name);
  void endAllSessions();
  /// Closes every session without recording it.
  void discardAllSessions();
  bool startAppSession();
  void stopAppSession();

  // Upload.

  static constexpr double minimumSecondsBetweenUploads = 5.0;

  /// Sends every stored event in one request and deletes what was sent once the service accepted it. Without
  /// force it gives up at once while another upload runs, in this process or another, and soon after the last
  /// one. With force it waits for the upload of this process, and up to 15 s for another's.
  void reportEvents(bool force);
  bool canReport() const;
  /// The path of the upload, with the signature's query in secure mode; nothing, with a line, without a
  /// signature.
  std::optional<std::string> getReportEndPoint() const;
  bool isReporting() const noexcept { return isReporting_; }
  void setIsReporting(bool isReporting) noexcept { isReporting_ = isReporting; }

 private:
  LMREventLogger() = default;

  void reportClientInfoIfDue() LUMORA_REQUIRES(mutex_);
  bool mayUpload(bool force) const;
  void tellFailure(const LumoraError& error) const;
  void warnWithoutLocks() LUMORA_REQUIRES(uploadMutex_);
  void uploadEvents(std::string events, const List& ids);

  /// Keeps uploads apart; taken before the logger's lock, which no upload needs.
  RecursiveMutex uploadMutex_;
  bool hasWarnedWithoutLocks_ LUMORA_GUARDED_BY(uploadMutex_) = false;
  mutable RecursiveMutex mutex_;
  /// Open sessions by name; each holds the second in which it began.
  std::map<std::string, Dictionary, std::less<>> sessions_ LUMORA_GUARDED_BY(mutex_);
  /// Whether the client information was recorded, but the settings could not keep that.
  bool isClientInfoMarkLost_ LUMORA_GUARDED_BY(mutex_) = false;
  std::atomic<bool> isReporting_ = false;
  std::atomic<EventObserver*> observer_ = nullptr;
  std::atomic<UploadObserver*> uploadObserver_ = nullptr;
};

}  // namespace lumora
