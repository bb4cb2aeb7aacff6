// The one name that the network module offers to the shared library. The end of the process that its sources
// speak of is the library's, whose functions are handed over here.
#include "lumora/Platform/Export.h"
#include "lumora/Platform/Linux/Network/MakeCurlURLLoader.h"

namespace lumora {
namespace {

ProcessEndFunctions library{};

}  // namespace

void ProcessEnd::watch() {
  library.watch();
}

bool ProcessEnd::hasBegun() noexcept {
  return library.hasBegun();
}

int ProcessEnd::descriptor() {
  return library.descriptor();
}

void ProcessEnd::begin(Work work) noexcept {
  library.begin(work);
}

void ProcessEnd::finish(Work work, std::size_t count) noexcept {
  library.finish(work, count);
}

}  // namespace lumora

extern "C" LUMORA_EXPORT lumora::URLLoader* lumoraMakeURLLoader(const lumora::ProcessEndFunctions& processEnd,
                                                                const std::string& certificateAuthorityFile,
                                                                const std::string& connectTo) {
  lumora::library = processEnd;
  return lumora::makeCurlURLLoader(certificateAuthorityFile, connectTo).release();
}
