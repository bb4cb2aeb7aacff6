#pragma once

#include <memory>
#include <string>

#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/URLLoader.h"

namespace lumora {

/// The Linux platform's loader: `CurlURLLoader`, made by the first request. Until then a process carries
/// neither libcurl's state nor, with the shared library, libcurl itself and what that needs.
///
/// Where libcurl cannot be loaded every request fails as without a network, and one line says why.
class LinuxURLLoader : public URLLoader {
 public:
  /// The same as for `CurlURLLoader`.
  LinuxURLLoader(std::string certificateAuthorityFile, std::string connectTo);

  URLResponse load(const URLRequest& request) override;
  /// Aborts the requests of every loader of this process.
  void setAborting(bool isAborting) override;

 private:
  URLLoader* curl();

  const std::string certificateAuthorityFile_;
  const std::string connectTo_;
  Mutex mutex_;
  std::unique_ptr<URLLoader> curl_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora
