// The service's answer to a configuration request.

#include <chrono>

#include "fuzz/FuzzedLibrary.h"
#include "lumora/Storage/LMRDataManager.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  auto& host = lumora::fuzz::initializedLibrary();
  const std::string body = lumora::fuzz::textOf(data, size);
  host.urlLoader.setHandler([body](const lumora::URLRequest& request) {
    const bool isSync = request.url.find("/api/v1/sync/") != std::string::npos;
    return lumora::URLResponse{200, {}, isSync ? body : std::string(R"({"success":false})"), {}};
  });
  host.clock.advance(std::chrono::seconds(11));
  lumora::Lumora::sharedInstance().appWillEnterForeground();
  lumora::fuzz::settle(host);
  lumora::LMRDataManager::sharedInstance().cleanUpAppEvents();
  return 0;
}
