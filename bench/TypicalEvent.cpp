#include "bench/TypicalEvent.h"

#include "lumora/Events/LMREventLogger.h"
#include "lumora/Platform/JSON.h"
#include "lumora/Util/EventKeys.h"

namespace lumora_bench {

lumora::Dictionary typicalRecord(const lumora::Dictionary& details) {
  lumora::Dictionary record =
      lumora::LMREventLogger::sharedInstance().getEventSkeleton(lumora::KEY_CHECKPOINT);
  record.emplace(lumora::KEY_NAME, kActionName);
  record.emplace(lumora::KEY_META, details);
  record.emplace(lumora::KEY_TYPE, lumora::KEY_TYPE_CUSTOM);
  return record;
}

std::string typicalText() {
  return lumora::writeJSON(typicalRecord(typicalDetails()->actionMetadata())).value();
}

}  // namespace lumora_bench
