// A phone's settings as JSON, for the file of the phones and for the page.
#include "service/PhoneSettings.h"

namespace lumora::service {

JSON jsonOf(const PhoneSettings& settings) {
  return {{"id", settings.id},
          {"name", settings.name},
          {"account", settings.account},
          {"model", settings.model},
          {"system", settings.systemVersion},
          {"version", settings.version},
          {"build", settings.build},
          {"ahead", settings.ahead},
          {"online", settings.isOnline}};
}

PhoneSettings settingsOf(const JSON& json) {
  PhoneSettings settings;
  settings.id = json.value("id", 0);
  settings.name = json.value("name", "");
  settings.account = json.value("account", "");
  settings.model = json.value("model", settings.model);
  settings.systemVersion = json.value("system", settings.systemVersion);
  settings.version = json.value("version", settings.version);
  settings.build = json.value("build", settings.build);
  settings.ahead = json.value("ahead", 0.0);
  settings.isOnline = json.value("online", true);
  return settings;
}

}  // namespace lumora::service
