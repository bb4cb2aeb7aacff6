// Answers from the test's script, and requests that it holds up. The only fake that really blocks: a test for
// two threads needs a request that lasts.
#include "lumora/Testing/FakeURLLoader.h"

namespace lumora::testing {
namespace {

URLResponse failure(int code, std::string description) {
  URLResponse response;
  response.error = TransportError{std::string(kURLErrorDomain), code, std::move(description)};
  return response;
}

}  // namespace

URLResponse FakeURLLoader::load(const URLRequest& request) {
  Handler handler;
  {
    Lock lock(mutex_);
    if (isAborting_) return failure(kURLErrorCancelled, "aborted");
    requests_.push_back(request);
    if (holds_) {
      ++heldRequests_;
      changed_.notify_all();
      while (holds_ && !isAborting_) changed_.wait(mutex_);
      --heldRequests_;
      if (isAborting_) return failure(kURLErrorCancelled, "aborted");
    }
    if (!script_.empty()) {
      URLResponse response = std::move(script_.front());
      script_.pop_front();
      return response;
    }
    handler = handler_;
  }
  if (handler) return handler(request);
  return failure(kURLErrorNotConnectedToInternet, "the test scripted no answer");
}

void FakeURLLoader::setAborting(bool isAborting) {
  Lock lock(mutex_);
  isAborting_ = isAborting;
  changed_.notify_all();
}

void FakeURLLoader::enqueue(URLResponse response) {
  Lock lock(mutex_);
  script_.push_back(std::move(response));
}

void FakeURLLoader::enqueue(int statusCode, std::string body, Headers headers) {
  enqueue(URLResponse{statusCode, std::move(headers), std::move(body), std::nullopt});
}

void FakeURLLoader::enqueueError(int code, std::string description) {
  enqueue(failure(code, std::move(description)));
}

void FakeURLLoader::setHandler(Handler handler) {
  Lock lock(mutex_);
  handler_ = std::move(handler);
}

void FakeURLLoader::hold() {
  Lock lock(mutex_);
  holds_ = true;
}

void FakeURLLoader::release() {
  Lock lock(mutex_);
  holds_ = false;
  changed_.notify_all();
}

void FakeURLLoader::waitForHeldRequests(int count) {
  Lock lock(mutex_);
  while (heldRequests_ < count) changed_.wait(mutex_);
}

std::vector<URLRequest> FakeURLLoader::requests() const {
  Lock lock(mutex_);
  return requests_;
}

void FakeURLLoader::clearRequests() {
  Lock lock(mutex_);
  requests_.clear();
}

}  // namespace lumora::testing
