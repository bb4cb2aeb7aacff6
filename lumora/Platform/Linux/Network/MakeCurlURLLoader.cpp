// The loader of who holds libcurl itself: a program with the archive, and the module of the shared library.
#include "lumora/Platform/Linux/Network/MakeCurlURLLoader.h"

#include "lumora/Platform/Linux/Network/CurlURLLoader.h"

namespace lumora {

std::unique_ptr<URLLoader> makeCurlURLLoader(const std::string& certificateAuthorityFile,
                                             const std::string& connectTo) {
  return std::make_unique<CurlURLLoader>(certificateAuthorityFile, connectTo);
}

}  // namespace lumora
