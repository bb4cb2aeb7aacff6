#pragma once

#include <string>

#include "lumora/Facade/Lumora.h"
#include "lumora/Testing/FakePlatform.h"

namespace lumora::fuzz {

/// The library on a fake platform, initialised, with nothing left to do. Made by the first input.
inline testing::FakePlatform& initializedLibrary() {
  static testing::FakePlatform& host = [&]() -> testing::FakePlatform& {
    auto& made = testing::FakePlatform::install();
    made.bundle.setInfoValue("CFBundleShortVersionString", "1.0");
    made.urlLoader.enqueue(200, R"({"success":true})");
    Lumora::sharedInstance().initializeWithTarrowID("acme", "s3cret");
    made.queues.runAll();
    return made;
  }();
  return host;
}

/// Runs everything that an input has queued, and forgets what it left in the fakes.
inline void settle(testing::FakePlatform& host) {
  host.queues.runAll();
  host.log.clear();
  host.urlLoader.clearRequests();
  while (host.alerts.answer(0)) continue;
}

inline std::string textOf(const unsigned char* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace lumora::fuzz
