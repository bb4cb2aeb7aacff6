// The messages of the studio's stream. What there is to tell comes from Studio.cpp and Phone.cpp.
#include "service/LiveFeed.h"

#include <fmt/format.h>

#include <chrono>

namespace lumora::service {
namespace {

constexpr std::size_t kMostKept = 4000;
constexpr std::size_t kLargestKept = 8U * 1024 * 1024;
constexpr std::chrono::seconds kPatience{1};

/// JSON has no line ends of its own, so that one message is one line of data.
std::string messageOf(std::uint64_t number, std::string_view type, std::string_view data) {
  return fmt::format("id: {}\nevent: {}\ndata: {}\n\n", number, type, data);
}

}  // namespace

// A reader who comes back after a restart has a number from before, which is too small.
LiveFeed::LiveFeed()
    : last_(static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                           std::chrono::system_clock::now().time_since_epoch())
                                           .count() *
                                       1000)) {}

void LiveFeed::tell(std::string_view type, const JSON& data) {
  const std::string text = data.dump(-1, ' ', false, JSON::error_handler_t::replace);
  {
    const Lock lock(mutex_);
    kept_.push_back(messageOf(++last_, type, text));
    keptSize_ += kept_.back().size();
    while (kept_.size() > kMostKept || (keptSize_ > kLargestKept && kept_.size() > 1)) {
      keptSize_ -= kept_.front().size();
      kept_.pop_front();
    }
  }
  condition_.notify_all();
}

std::uint64_t LiveFeed::last() const {
  const Lock lock(mutex_);
  return last_;
}

LiveFeed::Messages LiveFeed::next(std::uint64_t after) {
  const auto latest = std::chrono::steady_clock::now() + kPatience;
  const Lock lock(mutex_);
  while (!hasEnded_ && after == last_) {
    if (condition_.wait_until(mutex_, latest) == std::cv_status::timeout) break;
  }
  Messages messages{"", last_, hasEnded_};
  if (after > last_ || last_ - after > kept_.size()) {
    messages.text = messageOf(last_, "reset", "{}");
    return messages;
  }
  for (std::size_t i = kept_.size() - (last_ - after); i < kept_.size(); ++i) messages.text += kept_[i];
  return messages;
}

void LiveFeed::end() {
  {
    const Lock lock(mutex_);
    hasEnded_ = true;
  }
  condition_.notify_all();
}

}  // namespace lumora::service
