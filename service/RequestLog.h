#pragma once

#include <fstream>
#include <string>

#include "lumora/Platform/Mutex.h"
#include "service/RequestRecord.h"

namespace lumora::service {

/// Tells of each request: a line for people on standard output, coloured on a terminal, and, when asked for,
/// a JSON object in a file, one per line. Any thread.
class RequestLog {
 public:
  /// An empty file name: no file. Throws std::runtime_error when the file cannot be opened.
  explicit RequestLog(const std::string& jsonFile);

  void write(const RequestRecord& record);

 private:
  const bool isColoured_;
  Mutex mutex_;
  std::ofstream json_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::service
