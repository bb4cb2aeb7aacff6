#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "lumora/Facade/LumoraObserver.h"
#include "lumora/Facade/LumoraStatus.h"
#include "lumora/Facade/TrackingConsent.h"
#include "lumora/Platform/Application.h"
#include "lumora/Platform/Export.h"
#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/Notifications.h"
#include "lumora/Platform/TaskQueues.h"
#include "lumora/Platform/Value.h"

namespace lumora {

class FlagMark;
class Keeping;
class LMRDataManager;
class LMREventLogger;
class LMRNetworkManager;
class LMRSecuritySignature;
class LumoraActionMetaData;
class LumoraLead;
class Reports;

/// The library's single entry point.
///
/// The host initialises it once, at launch, on its main thread; from then on the library records sessions,
/// actions and the person's profile in a local database and uploads them to the service.
///
/// Threads: any thread may call any operation. A call checks its arguments and enqueues the work on the
/// library's own queue. None waits for the network, nor for a request that another thread makes, but the two
/// that make their request on the calling thread: `setSecureSignature` and `unregisterPushDeviceToken`. What
/// reads or stores a setting at once (the push token, the signature, the identifier of the installation) may
/// wait for the disk.
///
/// Failures: nothing is thrown and nothing is reported back; a call that cannot be served writes a line that
/// begins with "LumoraSDK-" to the platform's log. What goes on after a call a `LumoraObserver` is told.
/// Calls made before initialisation are noted there, and their records are kept and uploaded later.
///
/// Ignored calls: in a child made by `fork` (of a process that had its platform already), after `shutdown`,
/// after `eraseAllData` and while consent is denied, every call does nothing and every question is answered
/// as before an initialisation. The first such call writes one line; in a forked child it goes to standard
/// error, whatever the host's log is. A child that runs another program by `exec` is not concerned, and one
/// that is to use the library itself (a daemon) is forked before the platform is made.
///
/// The end of the process: a host that returns from `main` or calls `exit`, on any thread, loses nothing.
/// With the Linux platform what was called before is stored by then, for which the end waits one second at
/// most; a request under way is aborted and its events are sent by the next run. Calls after that are
/// ignored, with one line. `_exit`, `quick_exit`, `abort` and a signal that kills end at once: the calls that
/// are still in the library's queue are lost, and nothing else. Those are the ones of the last milliseconds,
/// or, while a request has no answer yet, the ones since it began: ten seconds at most for each. A host that
/// is ended by a signal turns it into an `exit` outside of the handler, in which hardly any function may be
/// called:
///
///     volatile std::sig_atomic_t isTerminating = 0;
///     std::signal(SIGTERM, [](int) { isTerminating = 1; });
///     while (isTerminating == 0) …;  // The host's loop, which the signal interrupts.
///     return 0;
///
///     auto& lumora = lumora::Lumora::sharedInstance();
///     lumora.initializeWithTarrowID("acme", "s3cret");
///     lumora.startSession("checkout");
///     lumora.reportAction("coupon_applied");
///     lumora.endSession("checkout");
class LUMORA_EXPORT Lumora {
 public:
  /// The one instance: made by the first call, safely from any thread, and never destroyed. Where there is no
  /// memory for that it throws std::bad_alloc, and the next call tries again. Nothing else is ever thrown: of
  /// any other call that memory runs out for, a line in the log tells that it is lost.
  static Lumora& sharedInstance();

  Lumora(const Lumora&) = delete;
  Lumora& operator=(const Lumora&) = delete;

  /// @name Initialisation and lifecycle
  /// @{

  /// Starts the library for an account and an application secret. The Tarrow ID is the account's identifier,
  /// the first label of the service's host name; the secret belongs to this application of the account. Both
  /// stand in the service's console. `launchOptions` is the map that the platform handed to the host at
  /// launch, if any. An empty argument or a second initialisation is logged
  /// and changes nothing; a call while another initialisation is under way is ignored. An account that the
  /// settings store refuses ends the initialisation, with the store's line.
  void initializeWithTarrowID(const std::optional<std::string>& tarrowID,
                              const std::optional<std::string>& appSecret,
                              std::optional<Dictionary> launchOptions = std::nullopt);
  /// Seconds that a configuration request may take; anything below 5 becomes 5. The default is 10.
  void setTimeoutInterval(long seconds);
  /// Uploads everything that was recorded before, in one request on the library's queue, without the pause of
  /// five seconds that other uploads keep. Returns at once. Nothing is sent before the library is
  /// initialised, nor in secure mode without a signature; what the service did not take waits for the next
  /// upload.
  void reportAll();

  /// The host calls these itself only where the platform posts no lifecycle notifications.
  void appDidEnterBackground();
  void appWillEnterForeground();

  /// @}

  /// @name Its end
  /// @{

  /// Waits until everything that was called before is stored and uploaded, in one upload that heeds no pause;
  /// true when no event waits any more. False when the time was over (the work goes on all the same), when
  /// the upload failed, and at once on a thread of the library's own. Not for every call: it costs a request.
  ///
  ///     lumora.reportAction("logged_out");
  ///     if (!lumora.flush(std::chrono::seconds(5))) …;  // It is stored, and goes out with the next run.
  bool flush(std::chrono::milliseconds timeout);
  /// Ends the library for this process: what was called before is stored, a request under way is aborted, the
  /// library's threads end, a keeper's with the keeper. Every later call is ignored. Waits until all that is
  /// done, but no longer than the timeout; what is left then is still done, and a line says so. On a thread
  /// of the library's own it does nothing.
  ///
  /// For hosts whose platform services end before the process does: afterwards the library uses none of them
  /// but the log, and that only when it is called again. Other hosts need not call it.
  void shutdown(std::chrono::milliseconds timeout);

  /// @}

  /// @name Privacy
  /// @{

  /// Stores what the person said to tracking; it holds from now on and in later runs. Any thread.
  ///
  /// Denied: every call is ignored, push notifications (their local copies too) and lifecycle notifications
  /// included; nothing is recorded, sent, fetched or shown, no identifier is made or told, a request under
  /// way is aborted. A message on the screen stays there, and a tap on it only dismisses it. What was called
  /// before is stored still; it waits with the other events, or is erased with them: what an end of the
  /// process, or another one that holds the database, leaves undone, the next start does. Open sessions end
  /// without a record.
  ///
  /// Given again, or unknown: the library goes on where it was. An initialisation that was ignored is made up
  /// for, and the application's session begins anew if one was open.
  void setTrackingConsent(Consent consent, WaitingEvents waiting = WaitingEvents::areKept);
  Consent trackingConsent() const noexcept;

  /// Erases everything that the library keeps: events, campaigns, pictures, its settings, the keychain items
  /// of this bundle, and files that were moved aside or left over beside them. Only the consent stays. A
  /// request under way is aborted and its answer ignored.
  ///
  /// It is on its way when this returns; `shutdown` waits for it, and so does the end of the process. Every
  /// call is ignored until the next start, which is that of a new installation, with new identifiers. What an
  /// end in the middle leaves undone, the next start does before anything else. Not erased are what the
  /// service has, and a broken keychain that was moved aside, in which other programs have items too. Another
  /// process on the same files is not told: end it first.
  void eraseAllData();

  /// @}

  /// @name Tracking
  /// @{

  /// Starts a named session. An empty name does nothing.
  void startSession(const std::optional<std::string>& name);
  /// Ends it: the session's duration in whole seconds is recorded. One younger than a second stays open.
  void endSession(const std::optional<std::string>& name);
  /// Ends every open session, whatever type is given.
  void endAllSessionsWithType(const std::optional<std::string>& type);
  /// Forgets every open session without recording it. Works on the calling thread, where it may wait for an
  /// event that is being stored.
  void discardAllSessions();
  /// Records an action under a name that must not be empty.
  void reportAction(const std::optional<std::string>& name,
                    std::shared_ptr<LumoraActionMetaData> metaData = nullptr);
  /// Records the person's profile. A null lead is refused.
  void associateLead(std::shared_ptr<LumoraLead> lead);

  /// @}

  /// @name Push
  /// @{

  /// Tells the service the push token that the platform gave the host; a token without bytes, or the one that
  /// is registered already, only writes a line. The token is stored on the calling thread, the rest is
  /// enqueued.
  void registerPushDeviceToken(const std::optional<Data>& deviceToken);
  /// Tells the service that the token is no longer good, on the calling thread, the request included.
  void unregisterPushDeviceToken();
  /// The push token as text, "" when none is registered.
  std::string getPushDeviceToken() const;
  bool isPushRegistered() const;
  /// Handles a payload by the application's present state: an arrival in the foreground is shown as a local
  /// notification, anything else is recorded as opened and its link opened.
  void handlePushNotification(const std::optional<Dictionary>& payload);
  /// Records that the person opened the notification in a payload or in launch options. On another thread
  /// than the main one the record is made before this returns, and goes out with a later upload.
  void trackPushNotification(const std::optional<Dictionary>& notification);
  /// The person tapped a notification. The callback is called before this returns.
  void userNotificationCenterDidReceiveNotificationResponse(const NotificationResponse& response,
                                                            const std::function<void()>& completionHandler);
  /// The platform delivered a local notification (systems before version 10).
  void applicationDidReceiveLocalNotification(const LocalNotification& notification);
  /// Whether the notification was made from one of the service's, a second ago or longer.
  bool isLumoraNotification(const LocalNotification& notification) const;

  /// @}

  /// @name Deep links and test devices
  /// @{

  /// Takes a link that the platform opened in the host, on the main thread. True when it begins a test-device
  /// registration; the person is then asked for the device's name. A refused link is logged, and shown in an
  /// alert.
  bool applicationOpenURL(const URL& url);

  /// @}

  /// @name Secure mode
  /// @{

  /// Replaces the signature that uploads carry, and uploads what was held back for want of one. Works on the
  /// calling thread, the request included. Null only removes the present signature.
  void setSecureSignature(const std::shared_ptr<LMRSecuritySignature>& signature);
  void removeSecureSignature();
  /// Whether the account requires signed uploads.
  bool isSecureModeEnabled() const;

  /// @}

  /// @name Identifier and state
  /// @{

  /// The identifier of this installation; a reinstallation makes a new one.
  std::string getDeviceId() const;
  /// Whether an initialisation has completed in this run.
  bool sdkInitialized() const;
  /// Whether the service has disabled the account for this application.
  bool accountBlocked() const noexcept { return accountBlocked_; }
  /// Whether a configuration request, or an upload, would be allowed now.
  bool canUpdate() const;
  bool canReport() const;
  /// True when the host's resources hold no provisioning profile.
  bool isAppStoreEnvironment() const noexcept { return appStoreEnvironment_; }

  /// @}

  /// @name What happens inside
  /// @{

  /// Names who is told what goes on, on the main queue or by an executor of the host's own; null ends it. The
  /// library keeps both until another observer is named. Once this returns the earlier observer is called no
  /// more, unless another thread is in a call of it. Notices that wait for it are dropped.
  void setObserver(std::shared_ptr<LumoraObserver> observer, LumoraExecutor executor = nullptr);
  /// How the library stands at this moment. The number of waiting events is read from the database, which
  /// stores first what waits for that; the rest is in memory. While another process holds the database it
  /// waits for it, on the main thread for 0.2 s at most, and on another one for 10 s.
  LumoraStatus status() const;

  /// @}

  /// @name For the library itself and its tests: a host has no need of these
  /// @{

  /// Logs that the library is not initialised, unless it is or is about to be.
  void sdkInitilizationWarning() const;
  /// Today's date in the device's time zone, as "yyyy-MM-dd".
  std::string getFormattedDate() const;

  /// Asks for the test device's name; what the person answers; an alert with one button. Main thread.
  void showDialog();
  void alertViewClickedButtonAtIndex(int alertTag, int buttonIndex, const std::string& text);
  void show(const std::string& message, const std::string& withTitle);
  /// The one-time registration token of the last accepted link; nothing once it was used.
  std::optional<std::string> token() const;
  void setToken(std::optional<std::string> token);

  /// The secret of this run; nothing until an initialisation has completed.
  std::optional<std::string> appSecret() const;
  void setAccountBlocked(bool blocked) noexcept { accountBlocked_ = blocked; }
  /// Whether an initialisation, or a configuration request, is under way.
  bool makingInitCall() const noexcept { return makingInitCall_; }
  void setMakingInitCall(bool making) noexcept { makingInitCall_ = making; }
  bool isSyncing() const noexcept { return isSyncing_; }
  void setIsSyncing(bool syncing) noexcept { isSyncing_ = syncing; }

  /// The library's own queues and managers. A host may wait for the queues; it hands nothing to them.
  TaskQueue& serialQueue() noexcept { return *serialQueue_; }
  TaskQueue& serialInAppQueue() noexcept { return *serialInAppQueue_; }
  LMREventLogger& eventLogger() noexcept { return eventLogger_; }
  LMRDataManager& dataManager() noexcept { return dataManager_; }
  LMRNetworkManager& networkManager() noexcept { return networkManager_; }

  /// @}

 private:
  friend class Keeping;

  /// Who asks for the configuration that an initialisation needs: the host, or its keeper after a failure.
  enum class Attempt { ofHost, again };

  LUMORA_INTERNAL Lumora();

  using LaunchOptions = std::optional<Dictionary>;

  LUMORA_INTERNAL void enqueue(Task task);
  LUMORA_INTERNAL void enqueueEvents(Task task);

  LUMORA_INTERNAL void beginInitialization();
  LUMORA_INTERNAL void initialize(const std::string& tarrowID, const std::string& appSecret,
                                  const LaunchOptions& launchOptions, FlagMark& making);
  LUMORA_INTERNAL void initializeAfresh(const std::string& appSecret, bool isFirstRun,
                                        const LaunchOptions& launchOptions, FlagMark& making);
  LUMORA_INTERNAL void restart(const std::string& appSecret, const LaunchOptions& launchOptions);
  LUMORA_INTERNAL void completeInitialization(const std::string& appSecret, Attempt attempt);
  LUMORA_INTERNAL void retryInitialization();
  LUMORA_INTERNAL void startAppSession();
  LUMORA_INTERNAL void fetchPicturesBeforeSession(std::string_view name);
  LUMORA_INTERNAL bool hasStoredCredentials() const;

  LUMORA_INTERNAL std::optional<std::string> secretForSync() const;
  LUMORA_INTERNAL std::string getSyncUrl(const std::string& appSecret) const;
  LUMORA_INTERNAL void getLatestConfiguration(const std::string& appSecret, Attempt attempt,
                                              FlagMark& making);
  LUMORA_INTERNAL void resyncConfiguration();
  LUMORA_INTERNAL bool parseResponseForBlockedAndFeatures(const std::optional<Dictionary>& response);
  LUMORA_INTERNAL void applyConfiguration(const Dictionary& config);

  struct Credentials {
    std::string tarrowID;
    std::string appSecret;
  };

  LUMORA_INTERNAL void resumeEarlierRun();
  LUMORA_INTERNAL void denyTracking(WaitingEvents waiting) LUMORA_REQUIRES(consentMutex_);
  LUMORA_INTERNAL void resumeTracking() LUMORA_REQUIRES(consentMutex_);
  LUMORA_INTERNAL void makeUpForInitialization(const Credentials& credentials);
  LUMORA_INTERNAL void rememberCredentials(const std::string& tarrowID, const std::string& appSecret);
  LUMORA_INTERNAL static void finishErasure();

  LUMORA_INTERNAL void reportTokenOfEarlierRun();
  LUMORA_INTERNAL void trackNotification(const std::optional<Dictionary>& notification);
  LUMORA_INTERNAL void trackTracking(const Value& tracking);
  LUMORA_INTERNAL void handlePayload(const Dictionary& payload, ApplicationState state);

  LUMORA_INTERNAL std::optional<std::string> takeToken();
  LUMORA_INTERNAL bool acceptDeepLink(const std::string& query);
  LUMORA_INTERNAL void setAsTestDevice(const std::optional<std::string>& registrationToken,
                                       const std::optional<std::string>& deviceName);
  LUMORA_INTERNAL std::string getTestRegistrationForToken(const std::string& registrationToken,
                                                          const std::string& deviceName);

  bool appStoreEnvironment_ = false;
  std::atomic<bool> accountBlocked_ = false;
  std::atomic<bool> makingInitCall_ = false;
  std::atomic<bool> isSyncing_ = false;
  mutable Mutex textMutex_;
  /// What the initialisation of this run was given, whether or not it completed.
  std::optional<std::string> givenSecret_ LUMORA_GUARDED_BY(textMutex_);
  std::optional<std::string> token_ LUMORA_GUARDED_BY(textMutex_);
  RecursiveMutex mutex_;
  mutable Mutex consentMutex_;
  std::atomic<Consent> consent_ = Consent::unknown;
  /// Counts the denials, so that what an earlier one has queued does not settle a later one.
  unsigned denials_ LUMORA_GUARDED_BY(consentMutex_) = 0;
  /// What this run's last initialisation was given.
  std::optional<Credentials> credentials_ LUMORA_GUARDED_BY(consentMutex_);
  /// Of the library's queue alone.
  bool isAppSessionSuspended_ = false;
  std::string unreportedToken_;
  std::unique_ptr<TaskQueue> serialQueue_;
  /// How many of its tasks that record events have not ended.
  std::atomic<int> eventTasks_ = 0;
  std::unique_ptr<TaskQueue> serialInAppQueue_;
  LMRDataManager& dataManager_;
  LMREventLogger& eventLogger_;
  LMRNetworkManager& networkManager_;
  Reports& reports_;
};

}  // namespace lumora
