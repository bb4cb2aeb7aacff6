#pragma once

#include "lumora/Facade/LumoraObserver.h"
#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {

/// Every notice as a line.
struct NoticeList : LumoraObserver {
  void initialized() override { notices.emplace_back("initialized"); }
  void initializationFailed(const LumoraError& error) override {
    add("failed {} {} {}", name(error.reason), std::to_string(error.code), error.message);
  }
  void configurationReceived(const Configuration& it) override {
    add("configuration {} {}", std::to_string(it.isBlocked), std::to_string(it.campaigns));
  }
  void campaignDropped(const DroppedCampaign& it) override { add("dropped {} {}", it.id, it.part); }
  void messageShown(const std::string& id) override { add("shown {}", id); }
  void messageDismissed(const std::string& id) override { add("dismissed {}", id); }
  void uploadFinished(const Upload& it) override {
    add("uploaded {} {}", std::to_string(it.events), std::to_string(it.duration.count()));
  }
  void uploadFailed(const LumoraError& error) override {
    add("not uploaded {} {}", name(error.reason), std::to_string(error.code));
  }
  void eventsDropped(LumoraEventLoss why, std::size_t count) override {
    constexpr const char* names[] = {"notJSON", "queueFull", "storeFailed"};
    add("lost {} {}", names[static_cast<int>(why)], std::to_string(count));
  }

  static std::string name(LumoraError::Reason reason) {
    constexpr const char* names[] = {"none",
                                     "credentialsMissing",
                                     "credentialsNotStored",
                                     "applicationVersionMissing",
                                     "network",
                                     "malformedAnswer",
                                     "refused",
                                     "notModified",
                                     "blocked",
                                     "signatureMissing",
                                     "otherProcess",
                                     "aborted"};
    return names[static_cast<int>(reason)];
  }

  template <typename... Texts>
  void add(std::string format, const Texts&... texts) {
    for (const std::string& text : {std::string(texts)...}) format.replace(format.find("{}"), 2, text);
    notices.push_back(format);
  }

  std::vector<std::string> notices;
};

}  // namespace lumora::tests
