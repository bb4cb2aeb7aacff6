// The accounts file of the local service, as somebody edits it.

#include <stdexcept>

#include "fuzz/FuzzedLibrary.h"
#include "service/AccountsFile.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  try {
    lumora::service::parseAccountsFile(lumora::fuzz::textOf(data, size));
  } catch (const std::runtime_error&) {
    // It says what is wrong.
  }
  return 0;
}
