// Keeps every line, in the order in which it was written.
#include "lumora/Testing/FakeSystemLog.h"

#include <algorithm>

namespace lumora::testing {

void FakeSystemLog::write(std::string_view message) {
  Lock lock(mutex_);
  messages_.emplace_back(message);
}

std::vector<std::string> FakeSystemLog::messages() const {
  Lock lock(mutex_);
  return messages_;
}

std::size_t FakeSystemLog::count(std::string_view message) const {
  Lock lock(mutex_);
  return static_cast<std::size_t>(std::ranges::count(messages_, message));
}

void FakeSystemLog::clear() {
  Lock lock(mutex_);
  messages_.clear();
}

}  // namespace lumora::testing
