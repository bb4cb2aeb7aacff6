#pragma once

#include <string_view>

#include "lumora/Platform/Export.h"

namespace lumora {

/// The system's log. There are no levels.
///
/// Thread safety: may be called from any thread, also while the library holds locks: an implementation must
/// not call back into the library.
class LUMORA_EXPORT SystemLog {
 public:
  virtual ~SystemLog() = default;
  /// Writes one message, without a trailing line feed. A message may itself hold line feeds.
  virtual void write(std::string_view message) = 0;
};

/// Passes everything to another log; a base for a host that looks at messages on their way.
class LUMORA_EXPORT ForwardingSystemLog : public SystemLog {
 public:
  explicit ForwardingSystemLog(SystemLog& next) : next_(next) {}
  void write(std::string_view message) override { next_.write(message); }

 private:
  SystemLog& next_;
};

}  // namespace lumora
