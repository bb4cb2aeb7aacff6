// A keychain file, as a disk or a person may have changed it.

#include "fuzz/FuzzedLibrary.h"
#include "lumora/Platform/Linux/Files/KeychainFormat.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const auto items = lumora::decodeKeychain(lumora::fuzz::textOf(data, size));
  if (!items) return 0;
  // What was read can be written, and reads back the same.
  const auto again = lumora::decodeKeychain(lumora::encodeKeychain(*items));
  if (!again || again->size() != items->size()) __builtin_trap();
  return 0;
}
