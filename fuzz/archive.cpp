// The archived security signature, as a damaged settings file may give it.

#include "fuzz/FuzzedLibrary.h"
#include "lumora/Facade/LMRSecuritySignature.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  auto& host = lumora::fuzz::initializedLibrary();
  host.settings.setObject(lumora::kLmroSecureToken, lumora::Data(data, data + size));
  if (const auto signature = lumora::LMRUtil::getSecureSignature()) {
    lumora::LMRUtil::setDataObject(signature.get(), lumora::kLmroSecureToken);
    if (!lumora::LMRUtil::getSecureSignature()) __builtin_trap();  // What was good must stay good.
  }
  lumora::fuzz::settle(host);
  return 0;
}
