#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/SystemLog.h"

namespace lumora::testing {

/// Collects messages.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT FakeSystemLog : public SystemLog {
 public:
  void write(std::string_view message) override;

  /// Every message so far, in the order of their arrival.
  std::vector<std::string> messages() const;
  /// How often exactly this message was written.
  std::size_t count(std::string_view message) const;
  void clear();

 private:
  mutable Mutex mutex_;
  std::vector<std::string> messages_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::testing
