// A campaign object as the service sends it: checked, and saved when it is good.

#include "fuzz/FuzzedLibrary.h"
#include "lumora/InApp/LMRInAppHandler.h"
#include "lumora/InApp/LMRInAppMessage.h"
#include "lumora/Platform/JSON.h"
#include "lumora/Storage/LMRDataManager.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  auto& host = lumora::fuzz::initializedLibrary();
  const auto value = lumora::parseJSON(lumora::fuzz::textOf(data, size));
  if (!value || !value->asDictionary()) return 0;
  host.urlLoader.setHandler([](const lumora::URLRequest&) {
    return lumora::URLResponse{200, {}, "picture", {}};
  });
  const auto message = lumora::LMRInAppMessage::initWithDictionary(*value->asDictionary());
  if (message && message->isValid()) {
    auto& store = lumora::LMRDataManager::sharedInstance();
    store.saveCampaign(message->row());
    lumora::LMRInAppHandler::sharedInstance().refill();
    store.clearCampaigns({message->getCampaignId().value_or("")});
  }
  lumora::fuzz::settle(host);
  return 0;
}
