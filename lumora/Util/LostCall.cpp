// What becomes of a call that memory ran out for.
#include "lumora/Util/LostCall.h"

#include <exception>

#include "lumora/Util/Log.h"

namespace lumora {

void tellLostCall(std::string_view call) noexcept try {
  logLine("LumoraSDK-Memory ran out, a call is lost: {}", call);
} catch (const std::exception&) {  // There is no more to be done.
}

}  // namespace lumora
