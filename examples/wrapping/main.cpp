// A host that replaces one service of the platform: every request that the library makes is named first.

#include <iostream>

#include "lumora/Facade/Lumora.h"
#include "lumora/Platform/Linux/LinuxPlatform.h"
#include "lumora/Platform/URLLoader.h"

namespace {

class LoggedLoader : public lumora::ForwardingURLLoader {
 public:
  using ForwardingURLLoader::ForwardingURLLoader;
  lumora::URLResponse load(const lumora::URLRequest& request) override {
    std::clog << request.method << ' ' << request.url << '\n';
    return ForwardingURLLoader::load(request);
  }
};

}  // namespace

int main() {
  lumora::LinuxPlatformOptions options;
  options.info = {{"CFBundleIdentifier", "com.example.shop"}, {"CFBundleShortVersionString", "1.0"}};

  static auto* const host = new lumora::LinuxPlatform(options);
  static auto* const loader = new LoggedLoader(host->platform().urlLoader);
  lumora::installPlatform(lumora::platformWith(host->platform(), *loader));

  lumora::Lumora::sharedInstance().initializeWithTarrowID("acme", "s3cret");
}
