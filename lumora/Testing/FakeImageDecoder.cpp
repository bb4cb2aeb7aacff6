// Takes any bytes for an image until the test says otherwise: no test needs real pictures to follow a
// campaign.
#include "lumora/Testing/FakeImageDecoder.h"

#include <utility>

namespace lumora::testing {

bool FakeImageDecoder::isImage(std::string_view bytes) {
  Predicate predicate;
  {
    Lock lock(mutex_);
    ++callCount_;
    predicate = predicate_;
  }
  return !bytes.empty() && (!predicate || predicate(bytes));
}

void FakeImageDecoder::setPredicate(Predicate predicate) {
  Lock lock(mutex_);
  predicate_ = std::move(predicate);
}

int FakeImageDecoder::callCount() const {
  Lock lock(mutex_);
  return callCount_;
}

}  // namespace lumora::testing
