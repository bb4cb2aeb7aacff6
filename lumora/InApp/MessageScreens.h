#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "lumora/Platform/Export.h"
#include "lumora/Platform/Value.h"
#include "lumora/Platform/ViewController.h"

namespace lumora {

/// The message screens of a host that draws a message by functions of its own, such as a web view's, instead
/// of deriving from `LMRInAppViewController`.
///
/// Made before the platform that it is given to, and kept until the process ends. Main thread only; the
/// functions are called there too, and may call any operation.
///
///     static auto* const screens = new lumora::MessageScreens(
///         [](auto message, const lumora::Dictionary& description) { view.show(message, description); },
///         [](auto message) { view.hide(message); });
///     options.rootViewController = [] { return screens->window(); };
///     options.layoutLoader = [](const std::string&) { return screens->layout(); };
///     …
///     screens->tap(message, "primary_button");
class LUMORA_EXPORT MessageScreens {
 public:
  /// Never 0, and never used twice.
  using MessageId = std::uint64_t;
  /// A message appears above whatever is shown: what `describeInAppMessage` says of it, whose "container"
  /// tells a card from one that fills the screen, and "presentation", the style that the library asks for: 4
  /// from system version 8 on (`Device::systemVersion`), 0 before.
  using Show = std::function<void(MessageId message, const Dictionary& description)>;
  /// It is to be taken away.
  using Dismiss = std::function<void(MessageId message)>;

  MessageScreens(Show show, Dismiss dismiss);
  ~MessageScreens();
  MessageScreens(const MessageScreens&) = delete;
  MessageScreens& operator=(const MessageScreens&) = delete;

  /// The bottom screen, for the platform's `rootViewController`: it draws nothing.
  std::shared_ptr<ViewController> window() const;
  /// What makes the screens, for the platform's `layoutLoader`. Any thread.
  std::shared_ptr<LayoutResource> layout() const;

  /// The person tapped a part of a message, named as in the description's "elements". The library reports
  /// the tap, takes the message away, and opens the part's link. False when the message is not shown, or has
  /// no such part that can be tapped.
  bool tap(MessageId message, std::string_view element);
  /// The topmost message; 0 when none is shown.
  MessageId shown() const;

 private:
  struct LUMORA_INTERNAL Display;
  std::shared_ptr<Display> display_;
};

}  // namespace lumora
