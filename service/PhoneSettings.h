#pragma once

#include <string>

#include "service/AccountsFile.h"

namespace lumora::service {

/// What is kept of a phone from one start of the studio to the next.
struct PhoneSettings {
  int id = 0;
  std::string name;
  std::string account;
  std::string model = "iPhone";
  std::string systemVersion = "16.4";
  std::string version = "1.0";
  std::string build = "1";
  /// How many seconds its clock is ahead of the machine's.
  double ahead = 0;
  bool isOnline = true;
};

JSON jsonOf(const PhoneSettings& settings);
/// What is missing is as it is in new settings. Throws JSON::exception where a value is of another kind.
PhoneSettings settingsOf(const JSON& json);

}  // namespace lumora::service
