// A picture as an image server sends it.

#include <cstddef>
#include <string_view>

#include "lumora/Platform/Linux/Images/LinuxImageDecoder.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  lumora::LinuxImageDecoder().isImage({reinterpret_cast<const char*>(data), size});
  return 0;
}
