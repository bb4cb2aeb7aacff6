// The facade and the keeper.
%typemap(in, numinputs=0) lumora::LumoraExecutor ""

// For the library itself and its tests.
%ignore lumora::Lumora::sdkInitilizationWarning;
%ignore lumora::Lumora::getFormattedDate;
%ignore lumora::Lumora::showDialog;
%ignore lumora::Lumora::alertViewClickedButtonAtIndex;
%ignore lumora::Lumora::show;
%ignore lumora::Lumora::token;
%ignore lumora::Lumora::setToken;
%ignore lumora::Lumora::appSecret;
%ignore lumora::Lumora::setAccountBlocked;
%ignore lumora::Lumora::makingInitCall;
%ignore lumora::Lumora::setMakingInitCall;
%ignore lumora::Lumora::isSyncing;
%ignore lumora::Lumora::setIsSyncing;
%ignore lumora::Lumora::serialQueue;
%ignore lumora::Lumora::serialInAppQueue;
%ignore lumora::Lumora::eventLogger;
%ignore lumora::Lumora::dataManager;
%ignore lumora::Lumora::networkManager;

%ignore lumora::Lumora::userNotificationCenterDidReceiveNotificationResponse;
%ignore lumora::Lumora::applicationOpenURL;
%exception lumora::Lumora::shutdown {
  $action
  lumora::bindings::releaseCallbacks();
}
// It stands behind the gate as every callback.
%exception lumora::Lumora::setObserver {
  arg2 = lumora::bindings::gated(std::move(arg2));
  $action
}
%feature("compactdefaultargs") lumora::Lumora::setObserver;
// The library reads them later, on its queue; a host here may fill in the same object for its next call by then.
%typemap(check) std::shared_ptr<lumora::LumoraActionMetaData>, std::shared_ptr<lumora::LumoraLead> {
  if ($1) $1 = lumora::copyOf(*$1);
}
%lumora_main_thread(lumora::Lumora::openURL, lumora::platform().queues.isMainThread())
%include "lumora/Facade/Lumora.h"

%extend lumora::Lumora {
  /// The person tapped a notification. The completion handler is called before this returns.
  void notificationTapped(const lumora::NotificationRequest& request,
                          std::shared_ptr<lumora::bindings::Runnable> completionHandler = nullptr) {
    const auto completion = completionHandler ? lumora::bindings::taskOf(std::move(completionHandler)) : [] {};
    self->userNotificationCenterDidReceiveNotificationResponse({request}, completion);
  }
  /// Takes a link that the platform opened in the host, on the main thread. True when it begins a test-device
  /// registration; the person is then asked for the device's name. A refused link is logged, and shown in an
  /// alert; a text that is no URL only gives false.
  bool openURL(const std::string& url) {
    const auto parsed = lumora::URL::parse(url);
    return parsed && self->applicationOpenURL(*parsed);
  }
}

%ignore lumora::LumoraKeeper::LumoraKeeper(const Options&);
%ignore lumora::LumoraKeeper::Options;
%include "lumora/Facade/LumoraKeeper.h"
%extend lumora::LumoraKeeper {
  /// How long the first event waits for an upload, 5 s at least; how long after the last request the configuration is
  /// asked for again, 10 s at least.
  LumoraKeeper(std::chrono::milliseconds uploadAfter = std::chrono::seconds(60),
               std::chrono::milliseconds refreshEvery = std::chrono::hours(6)) {
    return new lumora::LumoraKeeper({std::chrono::duration_cast<std::chrono::seconds>(uploadAfter),
                                     std::chrono::duration_cast<std::chrono::seconds>(refreshEvery)});
  }
}
