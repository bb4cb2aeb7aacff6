#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "lumora/Facade/LumoraObserver.h"
#include "lumora/Facade/LumoraStatus.h"
#include "lumora/Platform/Application.h"
#include "lumora/Platform/Export.h"
#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/Notifications.h"
#include "lumora/Platform/TaskQueues.h"
#include "lumora/Platform/Value.h"

namespace lumora {

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
///     auto& lumora = lumora::Lumora::sharedInstance();
///     lumora.initializeWithTarrowID("acme", "s3cret");
///     lumora.startSession("checkout");
///     lumora.reportAction("coupon_applied");
///     lumora.endSession("checkout");
class LUMORA_EXPORT Lumora {
 public:
  /// The one instance: made by the first call, safely from any thread, and never destroyed.
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

  Lumora();

  using LaunchOptions = std::optional<Dictionary>;

  void enqueue(Task task);
  void enqueueEvents(Task task);

  void initialize(const std::string& tarrowID, const std::string& appSecret,
                  const LaunchOptions& launchOptions);
  void initializeAfresh(const std::string& appSecret, bool isFirstRun, const LaunchOptions& launchOptions);
  void restart(const std::string& appSecret, const LaunchOptions& launchOptions);
  void completeInitialization(const std::string& appSecret, Attempt attempt);
  void retryInitialization();
  void startAppSession();
  void fetchPicturesBeforeSession(std::string_view name);
  bool hasStoredCredentials() const;

  std::optional<std::string> secretForSync() const;
  std::string getSyncUrl(const std::string& appSecret) const;
  void getLatestConfiguration(const std::string& appSecret, Attempt attempt);
  void resyncConfiguration();
  bool parseResponseForBlockedAndFeatures(const std::optional<Dictionary>& response);
  void applyConfiguration(const Dictionary& config);

  void trackTracking(const Value& tracking);
  void handlePayload(const Dictionary& payload, ApplicationState state);

  std::optional<std::string> takeToken();
  bool acceptDeepLink(const std::string& query);
  void setAsTestDevice(const std::optional<std::string>& registrationToken,
                       const std::optional<std::string>& deviceName);
  std::string getTestRegistrationForToken(const std::string& registrationToken,
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
