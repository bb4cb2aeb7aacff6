#pragma once

#include <string>
#include <vector>

#include "lumora/InApp/MessageScreens.h"
#include "lumora/Platform/Export.h"
#include "lumora/Platform/Value.h"
#include "lumora/Testing/FakePlatform.h"

namespace lumora::testing {

/// The display of a host under test: it shows the library's messages, and is tapped by the test.
///
/// Thread safety: the test's thread alone.
class LUMORA_EXPORT TestScreen {
 public:
  /// Becomes the window and the layout resource of these fakes, which must outlive the screen.
  explicit TestScreen(FakePlatform& fakes);
  TestScreen(const TestScreen&) = delete;
  TestScreen& operator=(const TestScreen&) = delete;

  /// The campaign whose message is on screen, "" when there is none.
  std::string campaign() const;
  /// The campaigns whose messages were shown so far, in that order.
  std::vector<std::string> shownCampaigns() const { return shownCampaigns_; }
  /// What the message on screen consists of, as `describeInAppMessage` gives it; empty when there is none.
  Dictionary description() const;
  /// A text of the message on screen: of "primary_text", "secondary_text", or a button. "" when it has none.
  std::string text(const std::string& element) const;
  /// The parts of the message on screen that can be tapped, such as "close_button".
  std::vector<std::string> tappableElements() const;
  /// The person taps a part of the message on screen. What follows from it is in the main queue
  /// (`TestHost::tap` runs that too). Throws `std::logic_error` when there is no such part, or no message.
  void tap(const std::string& element);

 private:
  struct Shown {
    MessageScreens::MessageId message;
    Dictionary description;
  };

  /// The topmost last.
  std::vector<Shown> shown_;
  std::vector<std::string> shownCampaigns_;
  MessageScreens screens_;
};

}  // namespace lumora::testing
