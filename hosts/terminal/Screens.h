#pragma once

#include <map>
#include <memory>
#include <string>

#include "hosts/terminal/Output.h"
#include "lumora/InApp/MessageScreens.h"
#include "lumora/Platform/ViewController.h"

namespace lumora_host {

/// The host's display of message screens: each screen shown or taken away is one line of output.
///
/// Screens are made on any thread, and shown and tapped on the main thread.
class Screens {
 public:
  explicit Screens(Output& output);

  /// The library's layout resource, and the bottom screen of the window.
  std::shared_ptr<lumora::LayoutResource> layout() { return screens_.layout(); }
  std::shared_ptr<lumora::ViewController> root() { return screens_.window(); }

  /// The person taps an element of the message on top; false when nothing with that name is on screen.
  bool tap(const std::string& element) { return screens_.tap(screens_.shown(), element); }

 private:
  Output& output_;
  std::map<lumora::MessageScreens::MessageId, lumora::Value> campaigns_;
  lumora::MessageScreens screens_;
};

}  // namespace lumora_host
