#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/URLLoader.h"

namespace lumora::testing {

/// Answers requests from a script, and remembers them.
///
/// A request takes the next enqueued response; when there is none the handler answers it; without a handler
/// it fails as on a device without a network.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT FakeURLLoader : public URLLoader {
 public:
  /// Runs on the thread that loads, without a lock held.
  using Handler = std::function<URLResponse(const URLRequest& request)>;
  using Headers = std::vector<std::pair<std::string, std::string>>;

  URLResponse load(const URLRequest& request) override;
  /// A request that is refused is not remembered.
  void setAborting(bool isAborting) override;

  void enqueue(URLResponse response);
  /// An answer with this status code.
  void enqueue(int statusCode, std::string body, Headers headers = {});
  /// A transport error of the URL loader's own domain.
  void enqueueError(int code, std::string description = "scripted failure");
  void setHandler(Handler handler);

  /// From now on every request blocks in `load`, as on a slow network, until `release`.
  void hold();
  /// Lets the blocked requests and all later ones pass.
  void release();
  /// Blocks the caller until so many requests are blocked in `load`.
  void waitForHeldRequests(int count = 1);

  /// Every request so far, in the order of their arrival.
  std::vector<URLRequest> requests() const;
  void clearRequests();

 private:
  mutable Mutex mutex_;
  std::condition_variable_any changed_;
  std::deque<URLResponse> script_ LUMORA_GUARDED_BY(mutex_);
  Handler handler_ LUMORA_GUARDED_BY(mutex_);
  std::vector<URLRequest> requests_ LUMORA_GUARDED_BY(mutex_);
  bool isAborting_ LUMORA_GUARDED_BY(mutex_) = false;
  bool holds_ LUMORA_GUARDED_BY(mutex_) = false;
  int heldRequests_ LUMORA_GUARDED_BY(mutex_) = 0;
};

}  // namespace lumora::testing
