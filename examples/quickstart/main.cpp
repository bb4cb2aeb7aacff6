#include <poll.h>

#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/LumoraActionMetaData.h"
#include "lumora/Platform/Linux/LinuxPlatform.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"

int main() {
  lumora::LinuxPlatformOptions options;
  options.info = {{"CFBundleIdentifier", "com.example.shop"}, {"CFBundleShortVersionString", "1.0"}};
  static auto* const host = new lumora::LinuxPlatform(options);  // kept until the process ends
  lumora::installPlatform(host->platform());

  auto& sdk = lumora::Lumora::sharedInstance();
  sdk.initializeWithTarrowID("acme", "s3cret");
  auto metaData = std::make_shared<lumora::LumoraActionMetaData>();
  metaData->setType("tutorial");
  sdk.reportAction("level_done", metaData);

  // A host with a loop of its own waits for the main queue's descriptor; others just call mainQueue().run().
  pollfd work{host->mainQueue().descriptor(), POLLIN, 0};
  for (; !host->queues().areSerialQueuesIdle(); host->mainQueue().runPending()) poll(&work, 1, 50);
}
