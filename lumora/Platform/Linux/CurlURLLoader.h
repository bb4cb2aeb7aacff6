#pragma once

#include <memory>
#include <string>

#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/URLLoader.h"

namespace lumora {

/// Loads URLs by libcurl: http and https, HTTP/1.1, TLS 1.2 or newer.
///
/// One request after another uses the same connection; a request that comes while another runs takes a
/// connection of its own. A request is put on the wire at most once: a connection that dies gives an error,
/// never a second attempt. No cookies, no cache, no header but the given ones and those that HTTP needs
/// (`Host`, `Content-Length`). The host's SIGPIPE handling is neither changed nor met.
class LUMORA_EXPORT CurlURLLoader : public URLLoader {
 public:
  /// `certificateAuthorityFile` is a PEM file to trust instead of the system's authorities; empty: the
  /// system's. `connectTo` is `HOST:PORT`: every connection goes there, while host name, SNI and certificate
  /// checks stay those of the URL; empty: where the URL says. Costs nothing until the first request.
  CurlURLLoader(std::string certificateAuthorityFile, std::string connectTo);
  ~CurlURLLoader() override;
  CurlURLLoader(const CurlURLLoader&) = delete;
  CurlURLLoader& operator=(const CurlURLLoader&) = delete;

  URLResponse load(const URLRequest& request) override;

 private:
  struct HandleDeleter {
    void operator()(void* handle) const noexcept;
  };
  using Handle = std::unique_ptr<void, HandleDeleter>;

  Handle takeHandle();
  void keepHandle(Handle handle);

  const std::string certificateAuthorityFile_;
  const std::string connectTo_;

  Mutex mutex_;
  /// The handle of the last request with its open connection; empty while a request uses it.
  Handle keptHandle_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora
