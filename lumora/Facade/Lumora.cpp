// Initialisation, the application's lifecycle, and the two ways in which work reaches the library's queue.
// What the service answers is in LumoraSync.cpp; tracking, push, links and secure mode have sources of their
// own.
#include "lumora/Facade/Lumora.h"

#include <date/date.h>
#include <fmt/format.h>

#include <algorithm>
#include <new>
#include <utility>

#include "lumora/Events/LMREventLogger.h"
#include "lumora/Facade/Reports.h"
#include "lumora/InApp/LMRInAppHandler.h"
#include "lumora/Manager/LMRNetworkManager.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/FlagMark.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"
#include "lumora/Util/LostCall.h"
#include "lumora/Util/LumoraConstants.h"
#include "lumora/Util/RunSecret.h"
#include "lumora/Util/UIDeviceAdditionalInfo.h"

namespace lumora {
namespace {

using Reason = LumoraError::Reason;

constexpr long minimumTimeoutSeconds = 5;

std::unique_ptr<TaskQueue> makeQueue(const char* name, const void* owner) {
  return platform().queues.makeSerialQueue(fmt::format("{}.{}", name, owner));
}

/// What a call has handed over. Where memory runs out that call alone is lost.
void carryOut(const Task& task) try { task(); } catch (const std::bad_alloc&) {
  tellLostCall("its task");
}

}  // namespace

Lumora& Lumora::sharedInstance() {
  static auto* const instance = new Lumora;
  return *instance;
}

Lumora::Lumora()
    : serialQueue_(makeQueue("com.ostrel.queue", this)),
      serialInAppQueue_(makeQueue("com.ostrel.inapp.queue", this)),
      dataManager_(LMRDataManager::sharedInstance()),
      eventLogger_(LMREventLogger::sharedInstance()),
      networkManager_(LMRNetworkManager::sharedInstance()),
      reports_(Reports::sharedInstance()) {
  // Who is told by a lower floor, and where lower floors leave work for later: the whole of it is here.
  LMRInAppHandler& inAppHandler = LMRInAppHandler::sharedInstance();
  eventLogger_.setObserver(inAppHandler);
  dataManager_.setObserver(inAppHandler);
  eventLogger_.setUploadObserver(reports_);
  dataManager_.setLossObserver(reports_);
  MessageObserver::setCurrent(reports_);
  dataManager_.storeLaterOn(*serialQueue_);
  inAppHandler.fetchOn(*serialInAppQueue_);
  platform().queues.reportUnfinished([](std::size_t) { CallGate::close(Closed::atProcessEnd); });
  resumeEarlierRun();
  appStoreEnvironment_ = !platform().bundle.pathForResource("embedded", "mobileprovision");
}

/// Hands work over that may take long or leave the device: what was recorded before is stored first.
void Lumora::enqueue(Task task) {
  serialQueue_->async([this, task = std::move(task)] {
    const CallGate::Work work;
    if (!work) return;
    dataManager_.storeWaiting();
    carryOut(task);
  });
}

/// Hands work over whose events may share a transaction with those of the work that follows.
void Lumora::enqueueEvents(Task task) {
  // Counted until it ends, or is dropped without having run, as at the end of the process.
  struct Counted {
    explicit Counted(std::atomic<int>& tasks) : count(tasks) { ++count; }
    ~Counted() {
      if (!hasRun) --count;
    }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    std::atomic<int>& count;
    bool hasRun = false;
  };
  serialQueue_->async([this, counted = std::make_shared<Counted>(eventTasks_), task = std::move(task)] {
    const CallGate::Work work;
    if (!work) return;
    counted->hasRun = true;  // From here on the burst counts it.
    const LMRDataManager::Burst together(eventTasks_);
    carryOut(task);
  });
}

void Lumora::initializeWithTarrowID(const std::optional<std::string>& tarrowID,
                                    const std::optional<std::string>& appSecret,
                                    std::optional<Dictionary> launchOptions) try {
  if (!CallGate::admitsDespite({Closed::withoutConsent}) || makingInitCall_) return;
  if (LMRUtil::isStringEmpty(tarrowID)) {
    logLine("LumoraSDK-Tarrow ID is an empty string.");
    reports_.initializationFailed({.reason = Reason::credentialsMissing});
    return;
  }
  if (LMRUtil::isStringEmpty(appSecret)) {
    logLine("LumoraSDK-App Secret is empty string.");
    reports_.initializationFailed({.reason = Reason::credentialsMissing});
    return;
  }
  rememberCredentials(*tarrowID, *appSecret);
  if (!CallGate::admits()) return;
  if (this->appSecret()) {
    logLine("LumoraSDK-Already initialized.");
    return;
  }
  if (makingInitCall_.exchange(true)) return;  // Another thread was first.
  try {
    beginInitialization();
    enqueue([this, tarrowID = *tarrowID, secret = *appSecret, options = std::move(launchOptions)] {
      FlagMark making(makingInitCall_);
      initialize(tarrowID, secret, options, making);
    });
  } catch (const std::bad_alloc&) {
    makingInitCall_ = false;  // So that the host may call again.
    throw;
  }
} catch (const std::bad_alloc&) {
  tellLostCall("initializeWithTarrowID");
}

void Lumora::beginInitialization() {
  Application& application = platform().application;
  // By each accepted call again. After an attempt that failed the lifecycle is heard of twice; the second
  // time finds the session begun or ended already, and nothing left to send.
  application.observe(LifecycleNotification::willEnterForeground, [this] { appWillEnterForeground(); });
  application.observe(LifecycleNotification::didEnterBackground, [this] { appDidEnterBackground(); });
  isSyncing_ = false;
}

void Lumora::initialize(const std::string& tarrowID, const std::string& appSecret,
                        const LaunchOptions& launchOptions, FlagMark& making) {
  const std::string storedVersion = LMRUtil::getStringForKey(kLmroAppVersion);
  // Read before the new account takes the stored one's place.
  const std::string storedCredentials =
      LMRUtil::getStringForKey(kLmroTarrowID) + LMRUtil::getStringForKey(kLmroAppSecret);
  accountBlocked_ = LMRUtil::getBoolForKey(kLmroAcountBlocked);
  // Stored before anything is known of it: the request for the configuration takes the account from there.
  LMRUtil::setObject(tarrowID, kLmroTarrowID);
  // Refused, with the store's line: the new secret must not go out with the account of another run.
  if (LMRUtil::getStringForKey(kLmroTarrowID) != tarrowID)
    return reports_.initializationFailed({.reason = Reason::credentialsNotStored});
  {
    Lock lock(textMutex_);
    givenSecret_ = appSecret;
  }
  const auto version = platform().bundle.infoValue(kBundleShortVersionKey);
  if (LMRUtil::isStringEmpty(version)) {
    logLine("LumoraSDK-Invalid app version, app version can not be empty.");
    reports_.initializationFailed({.reason = Reason::applicationVersionMissing});
    return;
  }
  // Compared as one text: a character that moves from one to the other makes no difference.
  if (storedVersion != *version || storedCredentials != tarrowID + appSecret) {
    initializeAfresh(appSecret, storedVersion.empty(), launchOptions, making);
  } else {
    restart(appSecret, launchOptions);
  }
}

/// The first run, an application update, or new credentials.
void Lumora::initializeAfresh(const std::string& appSecret, bool isFirstRun,
                              const LaunchOptions& launchOptions, FlagMark& making) {
  // The client information is due again, ahead of the next event.
  LMRUtil::setBool(false, kLmroInit);
  LMRUtil::setBool(isFirstRun, kLmroNewUser);
  if (isFirstRun) LMRUtil::setObject(getFormattedDate(), kLmroInstallDate);
  getLatestConfiguration(appSecret, Attempt::ofHost, making);
  // Whether or not that succeeded: without a secret the upload ends at once, and the event waits for a later
  // one.
  trackNotification(launchOptions);
  eventLogger_.reportEvents(true);
}

/// The same application and credentials as in the last run.
void Lumora::restart(const std::string& appSecret, const LaunchOptions& launchOptions) {
  // Not for good: the resync that follows the application's coming and going asks again.
  if (accountBlocked_) {
    logLine("LumoraSDK-account disabled for this app.");
    reports_.initializationFailed({.reason = Reason::blocked});
    return;
  }
  completeInitialization(appSecret, Attempt::ofHost);
  trackNotification(launchOptions);
  eventLogger_.reportEvents(true);
  resyncConfiguration();
}

void Lumora::completeInitialization(const std::string& appSecret, Attempt attempt) {
  reportTokenOfEarlierRun();
  // First: requests carry it, and without it nothing is uploaded.
  RunSecret::sharedInstance().set(appSecret);
  logLine("LumoraSDK-v.{} initialized successfully.", kOstrelSDKVersion);
  reports_.initialized();
  // The application may have come to the foreground while only the keeper was trying.
  if (attempt == Attempt::again && eventLogger_.isSessionOpen(kLmroSession)) return;
  startAppSession();
}

/// Asks once more for what the host's initialisation could not get. Everything that comes before the request
/// was done then, and stays.
void Lumora::retryInitialization() {
  if (sdkInitialized() || !canUpdate() || makingInitCall_.exchange(true)) return;
  FlagMark making(makingInitCall_);
  std::optional<std::string> secret;
  {
    Lock lock(textMutex_);
    secret = givenSecret_;
  }
  if (!secret) return;
  getLatestConfiguration(*secret, Attempt::again, making);
  if (sdkInitialized()) eventLogger_.reportEvents(true);
}

void Lumora::startAppSession() {
  fetchPicturesBeforeSession(kLmroSession);
  eventLogger_.startAppSession();
}

/// The application's session offers campaigns again while its caller holds the logger's lock, under which
/// nothing may be downloaded.
void Lumora::fetchPicturesBeforeSession(std::string_view name) {
  if (name != kLmroSession || eventLogger_.isSessionOpen(name)) return;
  LMRInAppHandler::sharedInstance().fetchForSession();
}

std::string Lumora::getFormattedDate() const {
  Clock& clock = platform().clock;
  const Date now = clock.now();
  const date::year_month_day today(std::chrono::floor<date::days>(now + clock.utcOffset(now)));
  return fmt::format("{:04}-{:02}-{:02}", static_cast<int>(today.year()),
                     static_cast<unsigned>(today.month()), static_cast<unsigned>(today.day()));
}

std::optional<std::string> Lumora::appSecret() const {
  return RunSecret::sharedInstance().get();
}

bool Lumora::sdkInitialized() const try {
  return CallGate::admits() && !LMRUtil::isStringEmpty(appSecret());
} catch (const std::bad_alloc&) {
  tellLostCall("sdkInitialized");
  return false;
}

void Lumora::sdkInitilizationWarning() const {
  if (!LMRUtil::isStringEmpty(appSecret()) || makingInitCall_) return;
  logLine(
      "LumoraSDK-[warning] is not initialized. Initialize Framwork using initializeWithTarrowID:appSecret: "
      "method.");
}

/// Whether an initialisation has succeeded, in this run or an earlier one: only then are both stored.
bool Lumora::hasStoredCredentials() const {
  const std::string version = LMRUtil::getStringForKey(kLmroAppVersion);
  const std::string secret = LMRUtil::getStringForKey(kLmroAppSecret);
  return !version.empty() && !secret.empty();
}

void Lumora::appDidEnterBackground() try {
  if (!CallGate::admits()) return;
  Application& application = platform().application;
  // The time asked for lasts until the platform ends it; the work below does not end it earlier.
  auto task = std::make_shared<Application::BackgroundTaskId>();
  *task = application.beginBackgroundTask([&application, task] { application.endBackgroundTask(*task); });
  if (!hasStoredCredentials()) return;
  enqueue([this] {
    // The session first: its duration goes out with this upload.
    eventLogger_.stopAppSession();
    eventLogger_.reportEvents(false);
    resyncConfiguration();
  });
} catch (const std::bad_alloc&) {
  tellLostCall("appDidEnterBackground");
}

void Lumora::appWillEnterForeground() try {
  if (!CallGate::admits()) return;
  if (!hasStoredCredentials()) return;
  enqueue([this] {
    startAppSession();
    eventLogger_.reportEvents(true);
    resyncConfiguration();
  });
} catch (const std::bad_alloc&) {
  tellLostCall("appWillEnterForeground");
}

void Lumora::reportAll() try {
  if (!CallGate::admits()) return;
  enqueue([] { LMREventLogger::sharedInstance().reportEvents(true); });
} catch (const std::bad_alloc&) {
  tellLostCall("reportAll");
}

std::string Lumora::getDeviceId() const try {
  if (!CallGate::admits()) return "";
  return UIDeviceAdditionalInfo::sharedInstance().installIdentifier();
} catch (const std::bad_alloc&) {
  tellLostCall("getDeviceId");
  return "";
}

void Lumora::setTimeoutInterval(long seconds) {
  if (!CallGate::admits()) return;
  networkManager_.setTimeoutInterval(std::max(seconds, minimumTimeoutSeconds));
}

}  // namespace lumora
