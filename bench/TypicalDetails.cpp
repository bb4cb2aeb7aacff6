#include "bench/TypicalDetails.h"

namespace lumora_bench {

std::shared_ptr<lumora::LumoraActionMetaData> typicalDetails() {
  auto details = std::make_shared<lumora::LumoraActionMetaData>();
  details->setType("purchase");
  details->setDetails("It's the \"summer\" coupon – 20 %");
  details->setMetric(12.5);
  details->setKey("item", "boots");
  return details;
}

}  // namespace lumora_bench
