// Puts off libcurl until there is something to request. How requests are made is in CurlURLLoader.cpp.
#include "lumora/Platform/Linux/Network/LinuxURLLoader.h"

#include <exception>
#include <utility>

#include "lumora/Platform/Linux/Network/MakeCurlURLLoader.h"
#include "lumora/Platform/Linux/Tasks/ProcessEnd.h"

namespace lumora {

LinuxURLLoader::LinuxURLLoader(std::string certificateAuthorityFile, std::string connectTo)
    : certificateAuthorityFile_(std::move(certificateAuthorityFile)), connectTo_(std::move(connectTo)) {
  // For a process that ends before its first request.
  ProcessEnd::watch();
}

/// Two first requests at once wait for the same start.
URLLoader* LinuxURLLoader::curl() {
  const Lock lock(mutex_);
  if (!curl_) curl_ = makeCurlURLLoader(certificateAuthorityFile_, connectTo_);
  return curl_.get();
}

void LinuxURLLoader::setAborting(bool isAborting) {
  ProcessEnd::setAborting(isAborting);
}

URLResponse LinuxURLLoader::load(const URLRequest& request) try {
  URLResponse response;
  // The end of the process waits for the start of libcurl as for a request; once it has begun, none starts.
  const ProcessEnd::Transfer underWay;
  const auto fail = [&response](int code, const char* description) {
    response.error = TransportError{std::string(kURLErrorDomain), code, description};
    return response;
  };
  if (ProcessEnd::hasBegun()) return fail(kURLErrorCancelled, "The program is ending.");
  if (ProcessEnd::refusesTransfers()) return fail(kURLErrorCancelled, "The request was aborted.");
  if (URLLoader* const loader = curl()) return loader->load(request);
  return fail(kURLErrorNotConnectedToInternet, "The HTTP library cannot be loaded.");
} catch (const std::exception& error) {
  URLResponse response;
  response.error = TransportError{std::string(kURLErrorDomain), kURLErrorUnknown, error.what()};
  return response;
}

}  // namespace lumora
