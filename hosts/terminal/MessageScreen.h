#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "hosts/terminal/Screens.h"
#include "lumora/InApp/LMRInAppMessage.h"
#include "lumora/InApp/LMRInAppViewController.h"
#include "lumora/InApp/LMRTappable.h"
#include "lumora/Platform/Value.h"

namespace lumora_host {

/// The screen of one in-app message: made → given its message → appears → dismissed by a tap.
///
/// Main thread only, except that the message may be given on any thread before the screen appears.
class MessageScreen : public lumora::LMRInAppViewController {
 public:
  /// The display must outlive the screen.
  explicit MessageScreen(Screens& screens) : screens_(screens) {}

  void setModalPresentationStyle(lumora::ModalPresentationStyle style) override { style_ = style; }
  /// Messages present nothing themselves.
  void presentViewController(std::shared_ptr<lumora::ViewController>, bool) override {}
  void dismiss(bool animated) override;
  void setInapp(std::shared_ptr<lumora::LMRInAppMessage> message) override { message_ = std::move(message); }

  /// Builds the elements that can be tapped.
  void appear();
  std::optional<std::string> campaign() const { return message_->getCampaignId(); }
  /// The message, how it is presented, and its elements.
  lumora::Dictionary description() const;
  /// False when the message has no such element that can be tapped.
  bool tap(const std::string& element);

 private:
  Screens& screens_;
  std::shared_ptr<lumora::LMRInAppMessage> message_;
  lumora::ModalPresentationStyle style_ = lumora::ModalPresentationStyle::unset;
  std::map<std::string, lumora::LMRTappable> tappables_;
};

}  // namespace lumora_host
