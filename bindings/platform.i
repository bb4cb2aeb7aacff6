// The Linux platform: its options, its main queue, its application, and the screens of messages.
%lumora_enum(lumora::ApplicationState, ApplicationState)
%lumora_enum(lumora::LogDestination, LogDestination)
%lumora_enum(lumora::LogDetail, LogDetail)

namespace lumora {
enum class ApplicationState { active, inactive, background };
}
%ignore lumora::LogSink;
%include "lumora/Platform/Linux/LogOptions.h"

%ignore lumora::LinuxPlatformOptions::logSink;
%ignore lumora::LinuxPlatformOptions::urlOpener;
%ignore lumora::LinuxPlatformOptions::alertPresenter;
%ignore lumora::LinuxPlatformOptions::notificationScheduler;
%ignore lumora::LinuxPlatformOptions::localNotificationScheduler;
%ignore lumora::LinuxPlatformOptions::rootViewController;
%ignore lumora::LinuxPlatformOptions::layoutLoader;
%typemap(check) lumora::LinuxPlatformOptions options {
  $1 = lumora::bindings::withOwnFolders(std::move($1));
}
%ignore lumora::LinuxPlatform::platform;
%ignore lumora::LinuxPlatform::mainQueue;
%ignore lumora::LinuxPlatform::queues;
%ignore lumora::LinuxPlatform::application;
%ignore lumora::LinuxPlatform::defaultInstance;
%ignore lumora::LinuxPlatform::~LinuxPlatform;
%include "lumora/Platform/Linux/LinuxPlatform.h"

%extend lumora::LinuxPlatformOptions {
  void setLogDestination(lumora::LogDestination destination) { self->logSink = destination; }
  void setLogWriter(std::shared_ptr<lumora::bindings::LogWriter> writer) {
    lumora::bindings::setLogWriter(*self, std::move(writer));
  }
  void setURLOpener(std::shared_ptr<lumora::bindings::URLOpener> opener) {
    lumora::bindings::setURLOpener(*self, std::move(opener));
  }
  void setAlertPresenter(std::shared_ptr<lumora::bindings::AlertPresenter> presenter) {
    lumora::bindings::setAlertPresenter(*self, std::move(presenter));
  }
  void setNotificationScheduler(std::shared_ptr<lumora::bindings::NotificationScheduler> scheduler) {
    lumora::bindings::setNotificationScheduler(*self, std::move(scheduler));
  }
  void setMessageScreens(lumora::MessageScreens& screens) { lumora::bindings::setMessageScreens(*self, screens); }
}

%lumora_main_thread(lumora::LinuxPlatform::requireMainThread, arg1->mainQueue().isMainThread())
%extend lumora::LinuxPlatform {
  /// False when the library is in use already.
  bool install() { return lumora::tryInstallPlatform(self->platform()); }
  void post(std::shared_ptr<lumora::bindings::Runnable> task) {
    self->mainQueue().async(lumora::bindings::taskOf(std::move(task)));
  }
  std::size_t runPending() { return self->mainQueue().runPending(); }
  /// Until a task waits for the main thread, but no longer than this. Any thread.
  void waitForTasks(std::chrono::milliseconds longest) {
    pollfd work{self->mainQueue().descriptor(), POLLIN, 0};
    poll(&work, 1, static_cast<int>(longest.count()));
  }
  int descriptor() { return self->mainQueue().descriptor(); }
  /// Fails on any thread but the main one.
  void requireMainThread() {}
  bool isIdle() { return self->queues().areSerialQueuesIdle() && self->mainQueue().isIdle(); }
  void didEnterBackground() {
    self->application().setState(lumora::ApplicationState::background);
    self->application().post(lumora::LifecycleNotification::didEnterBackground);
  }
  void willEnterForeground() {
    self->application().setState(lumora::ApplicationState::active);
    self->application().post(lumora::LifecycleNotification::willEnterForeground);
  }
}

%ignore lumora::MessageScreens::MessageScreens;
%ignore lumora::MessageScreens::~MessageScreens;
%ignore lumora::MessageScreens::window;
%ignore lumora::MessageScreens::layout;
%include "lumora/InApp/MessageScreens.h"
%inline %{
lumora::MessageScreens* screensOf(std::shared_ptr<lumora::bindings::MessageDisplay> display) {
  return &lumora::bindings::makeMessageScreens(std::move(display));
}
%}
