#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/URLLoader.h"
#include "lumora/Platform/Value.h"
#include "lumora/Testing/FakePlatform.h"
#include "lumora/Testing/Host/UploadedEvent.h"

namespace lumora::testing {

enum class RequestKind {
  /// For the configuration and the campaigns.
  sync,
  /// Of events.
  upload,
  /// Anything else: pictures, registrations of test devices.
  other
};

/// The service as a host's test sees it: it takes what the library sends, and answers what the test says. At
/// first it accepts every request, has no campaigns, and gives some bytes for every picture.
///
///     host.service.answerSync({{"blocked", true}});
///     host.service.answerUpload(503, "");
///     host.service.goOffline();
///
/// It answers where the fake URL loader has no enqueued response; it does not see those that have one.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT TestService {
 public:
  /// The fakes must outlive the service.
  explicit TestService(FakePlatform& fakes);
  TestService(const TestService&) = delete;
  TestService& operator=(const TestService&) = delete;

  /// Answers each later sync with these entries ("config", "inapp", "blocked", "lst"), beside "success".
  void answerSync(const Dictionary& entries);
  /// The same for an answer that is anything else, such as one that refuses.
  void answerSync(int statusCode, std::string body);
  /// Adds a campaign to the next answer of a sync, and to no later one: the service sends what is new.
  void offerInNextSync(const Dictionary& campaign);
  /// Answers each later upload so. What counts for the library is the body: `{"success":true}` accepts.
  void answerUpload(int statusCode, std::string body);
  /// Accepts each later upload.
  void acceptUploads();
  /// From now on every request fails as on a device without a network, until `goOnline`.
  void goOffline();
  void goOnline();

  /// Every event that was accepted, in the order of the uploads. Throws `std::logic_error` when calls of the
  /// host wait in the library's queues still: `TestHost::run` or `upload` comes first.
  std::vector<UploadedEvent> uploadedEvents() const;
  /// Those of one kind.
  std::vector<UploadedEvent> uploadedEvents(EventKind kind) const;
  /// The names of the host's actions among them.
  std::vector<std::string> uploadedActions() const;
  /// The requests that were made so far, failed ones included.
  std::vector<URLRequest> requests(RequestKind kind) const;
  /// Forgets the events and the requests so far.
  void forget();

 private:
  URLResponse answer(const URLRequest& request);
  URLResponse syncAnswerWithOffers() LUMORA_REQUIRES(mutex_);

  FakePlatform& fakes_;
  mutable Mutex mutex_;
  URLResponse syncAnswer_ LUMORA_GUARDED_BY(mutex_);
  URLResponse uploadAnswer_ LUMORA_GUARDED_BY(mutex_);
  List offered_ LUMORA_GUARDED_BY(mutex_);
  bool isOffline_ LUMORA_GUARDED_BY(mutex_) = false;
  std::vector<UploadedEvent> uploaded_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::testing
