// The loader of the shared library: made by the module beside it, which is loaded with the first request and
// stays. Only this source and NetworkModuleEntry.cpp know that there are two files.
#include "lumora/Platform/ForkedChild.h"
#include "lumora/Platform/Linux/Files/Files.h"
#include "lumora/Platform/Linux/Modules/LoadModule.h"
#include "lumora/Platform/Linux/Network/MakeCurlURLLoader.h"

namespace lumora {

std::unique_ptr<URLLoader> makeCurlURLLoader(const std::string& certificateAuthorityFile,
                                             const std::string& connectTo) {
  static auto* const make = reinterpret_cast<MakeURLLoaderFunction*>(
      functionOfModule(LUMORA_NETWORK_MODULE, makeURLLoaderSymbol, "Requests cannot be made"));
  if (!make) return nullptr;
  constexpr ProcessFunctions process{.isForkedChild = isForkedChild,
                                     .watch = ProcessEnd::watch,
                                     .hasBegun = ProcessEnd::hasBegun,
                                     .refusesTransfers = ProcessEnd::refusesTransfers,
                                     .descriptor = ProcessEnd::descriptor,
                                     .begin = ProcessEnd::begin,
                                     .finish = ProcessEnd::finish,
                                     .namesIn = namesIn};
  return std::unique_ptr<URLLoader>(make(process, certificateAuthorityFile, connectTo));
}

}  // namespace lumora
