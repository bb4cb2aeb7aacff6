#pragma once

#include <functional>
#include <string_view>

#include "lumora/Platform/ImageDecoder.h"
#include "lumora/Platform/Mutex.h"

namespace lumora::testing {

/// Takes any bytes for an image, unless the test says otherwise; no bytes are never one.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT FakeImageDecoder : public ImageDecoder {
 public:
  /// Runs on the asking thread, without a lock held.
  using Predicate = std::function<bool(std::string_view bytes)>;

  bool isImage(std::string_view bytes) override;

  /// What decides from now on.
  void setPredicate(Predicate predicate);
  /// How often the decoder was asked.
  int callCount() const;

 private:
  mutable Mutex mutex_;
  Predicate predicate_ LUMORA_GUARDED_BY(mutex_);
  int callCount_ LUMORA_GUARDED_BY(mutex_) = 0;
};

}  // namespace lumora::testing
