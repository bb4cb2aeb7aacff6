// The table of open sessions. It is in memory alone: a session that is open when the process ends is never
// recorded. What a host may call is in LumoraTracking.cpp, when the application's own session runs in
// Lumora.cpp.
#include <vector>

#include "lumora/Events/CurrentSecond.h"
#include "lumora/Events/LMREventLogger.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/EventKeys.h"
#include "lumora/Util/Log.h"
#include "lumora/Util/LumoraConstants.h"

namespace lumora {

bool LMREventLogger::startSession(const std::string& name) {
  if (!CallGate::isWorking()) return false;
  const LMRDataManager::WaitLater later;
  Lock lock(mutex_);
  if (sessions_.size() >= static_cast<std::size_t>(MAX_SESSIONS_COUNT)) {
    logLine("LumoraSDK-Session threshold exceeded, unable to start this session {}.", name);
    return false;
  }
  if (sessions_.contains(name)) {
    logLine("LumoraSDK-Session {} already started.", name);
    return false;
  }
  sessions_.emplace(name, Dictionary{{std::string(KEY_SESSION_START), currentSecond()}});
  if (EventObserver* const observer = observer_) observer->currentSession(name);
  return true;
}

bool LMREventLogger::isSessionOpen(std::string_view name) const {
  Lock lock(mutex_);
  return sessions_.contains(name);
}

void LMREventLogger::endSession(const std::string& name) {
  if (!CallGate::isWorking()) return;
  const LMRDataManager::WaitLater later;
  Lock lock(mutex_);
  const auto session = sessions_.find(name);
  if (session == sessions_.end()) {
    // The application's session is ended whenever the application goes away, open or not: no mistake of the
    // host's.
    if (name != kLmroSession) logLine("LumoraSDK-{} session not started.", name);
    return;
  }
  const std::int64_t start = session->second.at(std::string(KEY_SESSION_START)).integerValue();
  const std::int64_t duration = currentSecond() - start;
  // It stays open, also where the clock was set back: a later end can still record it.
  if (duration <= 0) return;
  Dictionary event = getEventSkeleton(KEY_SESSION);
  event.emplace(KEY_SESSION_NAME, name);
  event.emplace(KEY_SESSION_DURATION, static_cast<long long>(duration));
  event.emplace(KEY_TYPE, KEY_TYPE_INTERNAL);
  saveEvent(event);
  // By its name: the event may have shown a screen, whose code may have discarded the sessions meanwhile.
  sessions_.erase(name);
}

void LMREventLogger::endAllSessions() {
  if (!CallGate::isWorking()) return;
  const LMRDataManager::WaitLater later;
  Lock lock(mutex_);
  // A copy, since each end takes an entry out of the table.
  std::vector<std::string> names;
  for (const auto& [name, session] : sessions_) names.push_back(name);
  for (const std::string& name : names) endSession(name);
}

void LMREventLogger::discardAllSessions() {
  Lock lock(mutex_);
  sessions_.clear();
}

bool LMREventLogger::startAppSession() {
  if (!CallGate::isWorking()) return false;
  const LMRDataManager::WaitLater later;
  Lock lock(mutex_);  // Nobody ends the session before its opening is recorded.
  if (!startSession(std::string(kLmroSession))) return false;
  reportAppOpen();
  return true;
}

void LMREventLogger::stopAppSession() {
  endSession(std::string(kLmroSession));
}

}  // namespace lumora
