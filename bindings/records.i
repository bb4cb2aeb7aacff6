// What a host fills in and hands over, and what the library tells of itself.
%shared_ptr(lumora::LumoraActionMetaData)
%shared_ptr(lumora::LumoraLead)
%shared_ptr(lumora::LMRSecuritySignature)

%ignore lumora::LMRSecuritySignature::initWithCoder;
%ignore lumora::LMRSecuritySignature::encodeWithCoder;
%ignore lumora::LumoraLead::userData;  // The same as userAttributes.

%include "lumora/Facade/LumoraActionMetaData.h"
%include "lumora/Facade/LumoraLead.h"
%include "lumora/Util/LMRSecuritySignature.h"

%lumora_enum(lumora::LumoraError::Reason, Reason)
%lumora_enum(lumora::LumoraEventLoss, LumoraEventLoss)
%lumora_enum(lumora::LumoraStatus::Operation, Operation)
%lumora_enum(lumora::Consent, Consent)
%lumora_enum(lumora::WaitingEvents, WaitingEvents)

// Records that the library makes are copied for the host, which may keep and share but not change them.
%lumora_record(lumora::LumoraError)
%lumora_record(lumora::LumoraStatus)
%lumora_record(lumora::LumoraStatus::Failure)
%lumora_record(lumora::LumoraObserver::Configuration)
%lumora_record(lumora::LumoraObserver::DroppedCampaign)
%lumora_record(lumora::LumoraObserver::Upload)
%lumora_record(lumora::Alert)
%lumora_optional_record(lumora::LumoraStatus::Failure)

%immutable;
%include "lumora/Util/LumoraError.h"
%include "lumora/Facade/LumoraStatus.h"
%ignore lumora::Alerts;
%ignore lumora::ForwardingAlerts;
%ignore lumora::Alert::onButton;
%include "lumora/Platform/Alerts.h"
%mutable;
%lumora_main_thread(lumora::Alert::press, !arg1->onButton || lumora::platform().queues.isMainThread())
%extend lumora::Alert {
  /// The person's answer: the chosen button's place in the list, and the text field's text. Main thread.
  void press(int button, const std::string& text = "") {
    if (self->onButton) self->onButton(button, text);
  }
}

%lumora_record(lumora::NotificationRequest)
%lumora_record(lumora::LocalNotification)
%ignore lumora::Notifications;
%ignore lumora::ForwardingNotifications;
%ignore lumora::NotificationResponse;
%include "lumora/Platform/Notifications.h"
%include "lumora/Facade/TrackingConsent.h"
