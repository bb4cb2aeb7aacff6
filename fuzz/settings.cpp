// A settings file, as a disk or a person may have changed it.

#include "fuzz/FuzzedLibrary.h"
#include "lumora/Platform/Linux/Files/SettingsFormat.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const auto values = lumora::decodeSettings(lumora::fuzz::textOf(data, size));
  if (!values) return 0;
  // What was read can be written, and reads back the same.
  const auto text = lumora::encodeSettings(*values);
  if (!text || lumora::decodeSettings(*text) != values) __builtin_trap();
  return 0;
}
