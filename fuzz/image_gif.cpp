// A picture that claims to be a GIF.

#include "lumora/Platform/Linux/Images/ImageFormats.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  lumora::ImageCheckBudget budget;
  lumora::isWholeGIF({reinterpret_cast<const char*>(data), size}, budget);
  return 0;
}
