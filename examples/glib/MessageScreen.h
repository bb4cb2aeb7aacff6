#pragma once

#include <memory>
#include <string>

#include "lumora/InApp/LMRInAppMessage.h"
#include "lumora/InApp/LMRInAppViewController.h"

/// A message on a terminal: its texts, and the names of what can be tapped. Shown → tapped → dismissed.
///
/// Made on any thread, as the layout resource's screens are; everything else is the main thread's.
class MessageScreen : public lumora::LMRInAppViewController {
 public:
  /// The window, which keeps what it presents; and what makes the screens.
  static std::shared_ptr<lumora::ViewController> window();
  static std::shared_ptr<lumora::LayoutResource> layout();
  /// The message on top; null when there is none.
  static std::shared_ptr<MessageScreen> top();

  void setModalPresentationStyle(lumora::ModalPresentationStyle) override {}
  void presentViewController(std::shared_ptr<lumora::ViewController>, bool) override {}
  void dismiss(bool animated) override;
  void setInapp(std::shared_ptr<lumora::LMRInAppMessage> message) override { message_ = std::move(message); }

  void draw() const;
  /// False when the message has no such part.
  bool tap(const std::string& element);

 private:
  std::shared_ptr<lumora::LMRInAppMessage> message_;
};
