// The signature of an account in secure mode (LumoraSecureMode.cpp).
#include "hosts/terminal/Commands/Command.h"
#include "lumora/Facade/LMRSecuritySignature.h"
#include "lumora/Facade/Lumora.h"

namespace lumora_host {
namespace {

using lumora::Lumora;

constexpr std::size_t fieldCount = 4;

CommandResult setSignature(Host&, const Arguments& arguments) {
  Lumora& facade = Lumora::sharedInstance();
  if (arguments.count() == 1 && !arguments.optionalText(0)) {
    facade.setSecureSignature(nullptr);
    return false;
  }
  if (arguments.count() != fieldCount) throw CommandError("four fields are needed, or nil alone");
  const auto signature =
      lumora::LMRSecuritySignature::initWithAccessKey(arguments.optionalText(0), arguments.optionalText(1),
                                                      arguments.optionalText(2), arguments.optionalText(3));
  if (signature) facade.setSecureSignature(signature);
  return signature != nullptr;
}

CommandResult removeSignature(Host&, const Arguments&) {
  Lumora::sharedInstance().removeSecureSignature();
  return std::nullopt;
}

CommandResult isSecureMode(Host&, const Arguments&) {
  return Lumora::sharedInstance().isSecureModeEnabled();
}

}  // namespace

CommandTable secureModeCommands() {
  return {
      {"secure-signature", {1, fieldCount, setSignature}},
      {"remove-signature", {0, 0, removeSignature}},
      {"is-secure-mode", {0, 0, isSecureMode}},
  };
}

}  // namespace lumora_host
