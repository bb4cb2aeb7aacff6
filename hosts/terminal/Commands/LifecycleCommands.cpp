// Initialisation, the application's coming and going, and what can be asked of the library (Lumora.cpp).
#include "hosts/terminal/Commands/Command.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Util/LMRUtil.h"

namespace lumora_host {
namespace {

using lumora::ApplicationState;
using lumora::Lumora;

CommandResult initialize(Host&, const Arguments& arguments) {
  auto launchOptions = arguments.optionalObject(2);
  Lumora::sharedInstance().initializeWithTarrowID(arguments.optionalText(0), arguments.optionalText(1),
                                                  std::move(launchOptions));
  return std::nullopt;
}

CommandResult setTimeout(Host&, const Arguments& arguments) {
  Lumora::sharedInstance().setTimeoutInterval(arguments.wholeNumber(0));
  return std::nullopt;
}

CommandResult reportAll(Host&, const Arguments&) {
  Lumora::sharedInstance().reportAll();
  return std::nullopt;
}

CommandResult enterBackground(Host& host, const Arguments&) {
  host.platform.application().setState(ApplicationState::background);
  host.platform.application().post(lumora::LifecycleNotification::didEnterBackground);
  return std::nullopt;
}

CommandResult enterForeground(Host& host, const Arguments&) {
  host.platform.application().setState(ApplicationState::active);
  host.platform.application().post(lumora::LifecycleNotification::willEnterForeground);
  return std::nullopt;
}

CommandResult setState(Host& host, const Arguments& arguments) {
  const auto state = applicationStateNamed(arguments.text(0));
  if (!state) throw CommandError("not active, inactive or background: " + arguments.text(0));
  host.platform.application().setState(*state);
  return std::nullopt;
}

CommandResult quit(Host& host, const Arguments&) {
  host.platform.mainQueue().runPending();
  host.isQuitting = true;
  return std::nullopt;
}

CommandResult deviceId(Host&, const Arguments&) {
  return Lumora::sharedInstance().getDeviceId();
}

CommandResult isInitialized(Host&, const Arguments&) {
  return Lumora::sharedInstance().sdkInitialized();
}

CommandResult canReport(Host&, const Arguments&) {
  return Lumora::sharedInstance().canReport();
}

CommandResult modelName(Host&, const Arguments&) {
  return lumora::LMRUtil::deviceModelName();
}

}  // namespace

CommandTable lifecycleCommands() {
  return {
      {"init", {2, 3, initialize}},
      {"timeout", {1, 1, setTimeout}},
      {"report-all", {0, 0, reportAll}},
      {"background", {0, 0, enterBackground}},
      {"foreground", {0, 0, enterForeground}},
      {"state", {1, 1, setState}},
      {"quit", {0, 0, quit}},
      {"device-id", {0, 0, deviceId}},
      {"is-initialized", {0, 0, isInitialized}},
      {"can-report", {0, 0, canReport}},
      {"model-name", {0, 0, modelName}},
  };
}

}  // namespace lumora_host
