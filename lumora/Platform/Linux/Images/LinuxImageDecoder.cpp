// Tells images from other bytes. Each format has a source of its own; what a picture may cost is in
// ImageCheckBudget.cpp.
#include "lumora/Platform/Linux/Images/LinuxImageDecoder.h"

#include "lumora/Platform/Linux/Images/ImageCheck.h"

namespace lumora {

bool LinuxImageDecoder::isImage(std::string_view bytes) {
  return isWholeImage(bytes);
}

}  // namespace lumora
