#include "lumora/Events/LMREventLogger.h"

namespace lumora {

LMREventLogger& LMREventLogger::sharedInstance() {
  static auto* const instance = new LMREventLogger;
  return *instance;
}

}  // namespace lumora
