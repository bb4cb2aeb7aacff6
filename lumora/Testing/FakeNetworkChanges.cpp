// The watches that live, and their callbacks.
#include "lumora/Testing/FakeNetworkChanges.h"

#include <map>
#include <utility>
#include <vector>

#include "lumora/Platform/Mutex.h"

namespace lumora::testing {

struct FakeNetworkChanges::State {
  Mutex mutex;
  std::map<const Watch*, std::function<void()>> callbacks LUMORA_GUARDED_BY(mutex);
};

class FakeNetworkChanges::FakeWatch : public Watch {
 public:
  FakeWatch(std::shared_ptr<State> state, std::function<void()> callback) : state_(std::move(state)) {
    Lock lock(state_->mutex);
    state_->callbacks.emplace(this, std::move(callback));
  }
  ~FakeWatch() override {
    Lock lock(state_->mutex);
    state_->callbacks.erase(this);
  }
  FakeWatch(const FakeWatch&) = delete;
  FakeWatch& operator=(const FakeWatch&) = delete;

 private:
  const std::shared_ptr<State> state_;
};

FakeNetworkChanges::FakeNetworkChanges() : state_(std::make_shared<State>()) {}

FakeNetworkChanges::~FakeNetworkChanges() = default;

std::unique_ptr<NetworkChanges::Watch> FakeNetworkChanges::watch(const std::function<void()>& callback) {
  return std::make_unique<FakeWatch>(state_, callback);
}

void FakeNetworkChanges::post() {
  std::vector<std::function<void()>> callbacks;
  {
    Lock lock(state_->mutex);
    for (const auto& [watch, callback] : state_->callbacks) callbacks.push_back(callback);
  }
  for (const auto& callback : callbacks) callback();
}

std::size_t FakeNetworkChanges::watchCount() const {
  Lock lock(state_->mutex);
  return state_->callbacks.size();
}

}  // namespace lumora::testing
