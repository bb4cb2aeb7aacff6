#pragma once

#include <memory>
#include <string>

#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/LumoraActionMetaData.h"

/// The code under test: a game that reports its levels. In the program itself the Linux platform is installed
/// before `start`; in a test the fakes are.
class Game {
 public:
  void start() { sdk_.initializeWithTarrowID("acme", "s3cret"); }

  /// A level that is done again counts only once.
  void finishLevel(int level, int stars) {
    if (level <= lastLevel_) return;
    lastLevel_ = level;
    auto details = std::make_shared<lumora::LumoraActionMetaData>();
    details->setKey("stars", std::to_string(stars));
    sdk_.reportAction("level_" + std::to_string(level) + "_done", details);
  }

 private:
  lumora::Lumora& sdk_ = lumora::Lumora::sharedInstance();
  int lastLevel_ = 0;
};
