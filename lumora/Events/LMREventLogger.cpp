// The one event logger. What it records is in LMREventLoggerRecords.cpp, the table of open sessions in
// LMREventLoggerSessions.cpp, the sending in LMREventLoggerUpload.cpp.
#include "lumora/Events/LMREventLogger.h"

namespace lumora {

LMREventLogger& LMREventLogger::sharedInstance() {
  // Never destroyed: tasks may still record while the process ends.
  static auto* const instance = new LMREventLogger;
  return *instance;
}

}  // namespace lumora
