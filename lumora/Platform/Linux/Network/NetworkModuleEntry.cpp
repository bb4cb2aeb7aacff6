// The one name that the network module offers to the shared library. What its sources ask of the process is
// the library's to answer, whose functions are handed over here.
#include "lumora/Platform/Export.h"
#include "lumora/Platform/ForkedChild.h"
#include "lumora/Platform/Linux/Files/Files.h"
#include "lumora/Platform/Linux/Network/MakeCurlURLLoader.h"

namespace lumora {
namespace {

ProcessFunctions library{};

}  // namespace

bool isForkedChild() noexcept {
  return library.isForkedChild();
}

void ProcessEnd::watch() {
  library.watch();
}

bool ProcessEnd::hasBegun() noexcept {
  return library.hasBegun();
}

bool ProcessEnd::refusesTransfers() noexcept {
  return library.refusesTransfers();
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

std::optional<std::vector<std::string>> namesIn(const std::string& folder) {
  return library.namesIn(folder);
}

}  // namespace lumora

extern "C" LUMORA_EXPORT lumora::URLLoader* lumoraMakeURLLoader(const lumora::ProcessFunctions& process,
                                                                const std::string& certificateAuthorityFile,
                                                                const std::string& connectTo) {
  lumora::library = process;
  return lumora::makeCurlURLLoader(certificateAuthorityFile, connectTo).release();
}
