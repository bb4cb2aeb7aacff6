// The classes that a host derives, and what their calls are given.
%lumora_callback(lumora::LumoraObserver)
%lumora_task(lumora::bindings::Runnable)
%lumora_callback(lumora::bindings::LogWriter)
%lumora_callback(lumora::bindings::URLOpener)
%lumora_callback(lumora::bindings::AlertPresenter)
%lumora_callback(lumora::bindings::NotificationScheduler)
%lumora_callback(lumora::bindings::MessageDisplay)

%shared_ptr(lumora::bindings::Completion)
%ignore lumora::bindings::Completion::Completion;
%ignore lumora::bindings::kOnlyMainThread;
%ignore lumora::bindings::taskOf;
%ignore lumora::bindings::gated;
%ignore lumora::bindings::makeMessageScreens;
%ignore lumora::bindings::setLogWriter;
%ignore lumora::bindings::setURLOpener;
%ignore lumora::bindings::setAlertPresenter;
%ignore lumora::bindings::setNotificationScheduler;
%ignore lumora::bindings::setMessageScreens;
%ignore lumora::bindings::Gate::Entry;
%ignore lumora::bindings::Gate;

%ignore lumora::LumoraExecutor;
%immutable lumora::LumoraObserver::Configuration::isBlocked;
%immutable lumora::LumoraObserver::Configuration::campaigns;
%immutable lumora::LumoraObserver::DroppedCampaign::id;
%immutable lumora::LumoraObserver::DroppedCampaign::part;
%immutable lumora::LumoraObserver::Upload::events;
%immutable lumora::LumoraObserver::Upload::duration;
%include "lumora/Facade/LumoraObserver.h"
%include "Callbacks.h"

#ifdef SWIGPYTHON
%{
static bool hasPlatform = false;
%}
%inline %{
/// A platform was made: the library needs its end.
void beginLibrary() { hasPlatform = true; }
/// What was called is stored while the runtime still lives; then nothing of the library's enters it any more. One call,
/// which Ctrl-C does not cut short.
void endLibrary() {
  if (hasPlatform) lumora::Lumora::sharedInstance().shutdown(std::chrono::seconds(5));
  if (hasPlatform) lumora::bindings::releaseCallbacks();
  lumora::bindings::Gate::close();
}
%}
#else
%inline %{
/// The runtime ends; see Gate.
void closeGate() { lumora::bindings::Gate::close(); }
%}
#endif
