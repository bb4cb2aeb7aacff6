#pragma once

#include <memory>

#include "lumora/Platform/Export.h"
#include "lumora/Platform/ViewController.h"

namespace lumora {

class LMRInAppMessage;

/// A screen that draws one in-app message: what the host's layout resource makes for the identifiers
/// "LMRInAppViewControllerPop" and "LMRInAppViewControllerFull".
///
/// A host derives its message screens from this and all its other screens from `ViewController`. A plain
/// `ViewController` under one of these identifiers is presented too, but is given no message.
class LUMORA_EXPORT LMRInAppViewController : public ViewController {
 public:
  /// Hands over the message that this screen draws. Called once, before the screen is presented, on the
  /// thread that recorded the event. The screen may keep it.
  virtual void setInapp(std::shared_ptr<LMRInAppMessage> message) = 0;
};

}  // namespace lumora
