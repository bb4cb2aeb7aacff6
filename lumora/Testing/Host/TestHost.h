#pragma once

#include <chrono>
#include <string>

#include "lumora/Platform/Export.h"
#include "lumora/Platform/Value.h"
#include "lumora/Testing/FakePlatform.h"
#include "lumora/Testing/Host/SampleCampaign.h"
#include "lumora/Testing/Host/TestScreen.h"
#include "lumora/Testing/Host/TestService.h"

namespace lumora::testing {

/// A host under test: the library on fakes, a service that answers, a display, and time that moves only when
/// the test says so.
///
///     auto& host = lumora::testing::TestHost::start();
///     host.initialize();
///     shop.placeOrder();  // the code under test, which reports an action
///     host.upload();
///     EXPECT_EQ(host.service.uploadedActions(), std::vector<std::string>{"order_placed"});
///
/// Nothing sleeps, nothing reaches the network, and the only files are in a temporary folder that goes with
/// the process. The library's instances live as long as the process, so every test needs a process of its
/// own: CMake's `lumora_add_tests(my_tests)` gives it.
///
/// Mistakes in a test throw `std::logic_error`, whose text says what to do.
///
/// Thread safety: the test's thread alone, which is the main thread; the code under test may have others.
class LUMORA_EXPORT TestHost {
 public:
  /// Installs the fakes; before anything else of the library is used. Once per process.
  static TestHost& start();

  TestHost(const TestHost&) = delete;
  TestHost& operator=(const TestHost&) = delete;

  /// The platform's fakes: what a test may set and ask beyond this class (alerts, notifications, settings,
  /// the log, the links that were opened).
  FakePlatform& fakes;
  TestService service;
  TestScreen screen;

  /// Initialises the library where the code under test does not do it, and runs what is due. Throws when it
  /// did not succeed.
  void initialize(const std::string& account = "acme", const std::string& secret = "s3cret");

  /// Runs what is due in all queues: what the host has called so far is recorded then. It is uploaded only
  /// where the library's own rules say so, at most every five seconds.
  void run();
  /// Runs what is due, moves the clock, and runs what is due then. On its way the clock stops at each timer
  /// (a keeper's) and what that has made due is run, so that a month of a keeper is worked through as a real
  /// one.
  void advance(std::chrono::microseconds duration);
  /// Asks the library for an upload of everything that is recorded, and runs it.
  void upload();
  /// The application goes to the background, or comes back, and the library works on that.
  void enterBackground();
  void enterForeground();

  /// The service offers this campaign, and the library fetches it: the application comes to the foreground
  /// for that, so what waits is uploaded too. Its message is shown when the event of its trigger is reported.
  /// Throws when the library does not take the campaign.
  void offerCampaign(const Dictionary& campaign);
  /// Offers this campaign, and shows its message as if the event it waits for had been reported; no such
  /// event is recorded. Throws when it does not appear, as while another message is on screen.
  void showCampaign(const Dictionary& campaign);
  /// The person taps a part of the message on screen ("primary_button", "close_button"), and the library
  /// works on that. Throws when there is no such part, or no message.
  void tap(const std::string& element);

 private:
  explicit TestHost(FakePlatform& installed);
};

}  // namespace lumora::testing
