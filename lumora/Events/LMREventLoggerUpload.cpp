// The upload: who may upload and when, one request with every stored event, and their deletion once the
// service took them. Rows and their ids are LMRDataManager's, requests LMRNetworkManager's.
#include <utility>

#include "lumora/Events/LMREventLogger.h"
#include "lumora/Manager/LMRNetworkManager.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/FlagMark.h"
#include "lumora/Util/LMRSecuritySignature.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"
#include "lumora/Util/MinimumInterval.h"
#include "lumora/Util/RunSecret.h"

namespace lumora {
namespace {

constexpr const char* kLmroReportEndpoint = "report/events/";
constexpr std::chrono::milliseconds noWait{0};
/// A request of another process ends after 10 s; the rest is for its reading and deleting.
constexpr std::chrono::seconds longestWaitForProcess{15};
constexpr const char* operation = "-[LMREventLogger reportEvents:]";
constexpr const char* callbackOperation = "-[LMREventLogger reportEvents:]_block_invoke";

void logMissingSignature() {
  logLine(
      "LumoraSDK-App is in Secure mode but could not found valid Security Token , Please set valid Security "
      "Signature using [[Lumora sharedInstance] setSecureSignature] .");
}

}  // namespace

bool LMREventLogger::canReport() const {
  return hasMinimumPassed(kLmroLastReport, minimumSecondsBetweenUploads, {"-[LMREventLogger canReport]", 134},
                          "report call ");
}

std::optional<std::string> LMREventLogger::getReportEndPoint() const {
  if (!LMRUtil::getBoolForKey(kLmroSecureMode)) return kLmroReportEndpoint;
  const auto signature = LMRUtil::getSecureSignature();
  if (!signature) {
    logMissingSignature();
    return std::nullopt;
  }
  // Escaped as a whole: reserved characters inside the values stay as they are.
  return percentEscaped(fmt::format("{}?ak={}&sign={}&ts={}&email={}", kLmroReportEndpoint,
                                    *signature->getAccessKey(), *signature->getSignature(),
                                    *signature->getTimeStamp(), *signature->getEmail()));
}

void LMREventLogger::reportEvents(bool force) {
  if (!CallGate::isOpen()) return;
  // Tested before the lock is taken: an ordinary trigger returns at once instead of waiting for an upload.
  if (isReporting_ && !force) {
    logTrace({operation, 144}, "Already reporting the event");
    return;
  }
  Lock lock(uploadMutex_);
  const FlagMark reporting(isReporting_);
  if (!mayUpload(force)) return;
  const LMRDataManager::UploadLock processes(force ? longestWaitForProcess : noWait);
  if (processes.state() == FileLockState::busy && !force) {
    logTrace({operation, 144}, "Already reporting the event");
    return;
  }
  // The attempt counts, not its success: a service that fails is not asked again by the next trigger.
  LMRUtil::setObject(platform().clock.now(), kLmroLastReport);
  if (processes.state() == FileLockState::busy) {
    logLine("LumoraSDK-Another process of this application is still uploading.");
    logTrace({callbackOperation, 209}, "Failed to report events data");
    tellFailure({.reason = LumoraError::Reason::otherProcess});
    return;
  }
  if (processes.state() == FileLockState::unsupported) warnWithoutLocks();
  LMRDataManager::sharedInstance().getEventsDataWith(
      [this](std::string events, const List& ids) { uploadEvents(std::move(events), ids); });
}

/// Tells once that another process may be sending the same events.
void LMREventLogger::warnWithoutLocks() {
  if (std::exchange(hasWarnedWithoutLocks_, true)) return;
  logLine("LumoraSDK-There are no file locks beside the database, uploading without one.");
}

bool LMREventLogger::mayUpload(bool force) const {
  if (!RunSecret::sharedInstance().get()) {
    logTrace({operation, 153}, "Lumora is not initlized");
    return false;
  }
  if (LMRUtil::getBoolForKey(kLmroSecureMode) && !LMRUtil::getSecureSignature()) {
    logMissingSignature();
    tellFailure({.reason = LumoraError::Reason::signatureMissing});
    return false;
  }
  if (!force && !canReport()) {
    logTrace({operation, 170}, "Wait for some time");
    return false;
  }
  return true;
}

void LMREventLogger::uploadEvents(std::string events, const List& ids) {
  if (ids.empty()) {
    logTrace({callbackOperation, 180}, "Lumra-No data available Failed to report data");
    return;
  }
  logTrace({callbackOperation, 185}, " sending data {}", events);
  // Asked for once more: the signature may have been taken away since `mayUpload`.
  const auto endPoint = getReportEndPoint();
  if (!endPoint) {
    logTrace({callbackOperation, 196}, "Failed to get access token");
    tellFailure({.reason = LumoraError::Reason::signatureMissing});
    return;
  }
  const Date began = platform().clock.now();
  LumoraError error;
  if (!LMRNetworkManager::sharedInstance().postDataSync(std::move(events), *endPoint, &error)) {
    logTrace({callbackOperation, 209}, "Failed to report events data");
    tellFailure(error);
    return;
  }
  logLine("LumoraSDK-Reported all data successfully.");
  // Under the upload's locks still, so that nobody reads these rows again before they are gone.
  const auto duration = std::chrono::floor<std::chrono::milliseconds>(platform().clock.now() - began);
  LMRDataManager::sharedInstance().cleanUpEventsWith(ids);
  if (UploadObserver* const observer = uploadObserver_) observer->uploadFinished(ids.size(), duration);
}

void LMREventLogger::tellFailure(const LumoraError& error) const {
  if (UploadObserver* const observer = uploadObserver_) observer->uploadFailed(error);
}

}  // namespace lumora
