// A push payload, in every state of the application, and as launch options.

#include "fuzz/FuzzedLibrary.h"
#include "lumora/Platform/JSON.h"
#include "lumora/Storage/LMRDataManager.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  auto& host = lumora::fuzz::initializedLibrary();
  const auto value = lumora::parseJSON(lumora::fuzz::textOf(data, size));
  if (!value || !value->asDictionary()) return 0;
  auto& facade = lumora::Lumora::sharedInstance();
  for (const auto state : {lumora::ApplicationState::active, lumora::ApplicationState::background}) {
    host.application.setState(state);
    facade.handlePushNotification(*value->asDictionary());
    facade.trackPushNotification(*value->asDictionary());
    host.queues.runAll();
  }
  lumora::fuzz::settle(host);
  lumora::LMRDataManager::sharedInstance().cleanUpAppEvents();
  return 0;
}
