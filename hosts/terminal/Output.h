#pragma once

#include "hosts/terminal/JSONObject.h"
#include "lumora/Platform/Mutex.h"

namespace lumora_host {

/// Writes one JSON object per line, each line at once and whole. Any thread.
class Output {
 public:
  /// The descriptor is not closed. Lines that nobody reads any more are dropped.
  explicit Output(int descriptor) : descriptor_(descriptor) {}

  void write(const JSONObject& object);

 private:
  lumora::Mutex mutex_;
  const int descriptor_;
};

}  // namespace lumora_host
