#pragma once

#include <memory>
#include <string>
#include <vector>

#include "hosts/terminal/Output.h"
#include "lumora/Platform/ViewController.h"

namespace lumora_host {

class MessageScreen;

/// The host's display of message screens: each screen shown or taken away is one line of output.
///
/// Screens are made on any thread, and shown and tapped on the main thread.
class Screens {
 public:
  explicit Screens(Output& output);

  /// The library's layout resource, and the bottom screen of the window.
  std::shared_ptr<lumora::LayoutResource> layout();
  std::shared_ptr<lumora::ViewController> root() { return root_; }

  void present(std::shared_ptr<MessageScreen> screen);
  void dismiss(const MessageScreen& screen);
  /// The person taps an element of the message on top; false when nothing with that name is on screen.
  bool tap(const std::string& element);

 private:
  Output& output_;
  std::shared_ptr<lumora::ViewController> root_;
  std::vector<std::shared_ptr<MessageScreen>> shown_;
};

}  // namespace lumora_host
