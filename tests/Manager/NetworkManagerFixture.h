#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lumora/Facade/Lumora.h"
#include "lumora/Manager/LMRNetworkManager.h"
#include "lumora/Testing/FakePlatform.h"
#include "lumora/Util/LMRSettingsKeys.h"

namespace lumora::tests {

enum class Operation { get, post };
inline constexpr Operation operations[] = {Operation::get, Operation::post};

/// The client of the service with an account identifier, off the main thread.
class NetworkManagerTest : public ::testing::Test {
 protected:
  using Lines = std::vector<std::string>;

  NetworkManagerTest() {
    host.settings.setObject(kLmroTarrowID, "acme");
    host.queues.setMainThread(false);
    // A request asks the facade for the secret; made only then, it would take its locks inside the request's.
    Lumora::sharedInstance();
  }

  static LMRNetworkManager& manager() { return LMRNetworkManager::sharedInstance(); }

  static std::optional<Dictionary> perform(Operation operation) {
    return operation == Operation::get ? manager().getDataFromEndpoint("path")
                                       : manager().postDataSync("body", "path");
  }

  /// The lines so far, without the traces and the line that announces this installation's identifier.
  Lines messages() const {
    Lines lines = host.log.messages();
    std::erase_if(lines, [](std::string_view line) {
      return line.starts_with("LumoraFramework-") || line.starts_with("LumoraSDK-Current UUID is : ");
    });
    return lines;
  }

  testing::FakePlatform& host = testing::FakePlatform::install();
};

}  // namespace lumora::tests
