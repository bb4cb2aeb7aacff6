#pragma once

#include <curl/curl.h>

#include <memory>
#include <string>
#include <vector>

namespace lumora_bench {

/// libcurl on its own, with one kept connection: the floor under the library's requests.
class PlainClient {
 public:
  /// `address` is HOST:PORT; every connection goes there. `authorityFile` is the PEM file to trust.
  PlainClient(const std::string& address, const std::string& authorityFile);

  void setHeaders(const std::vector<std::string>& headers);
  /// The status code; throws std::runtime_error when no answer came.
  long get(const std::string& url);
  long post(const std::string& url, const std::string& body);

 private:
  struct HandleDeleter {
    void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
  };
  struct ListDeleter {
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
  };

  long perform(const std::string& url);

  std::unique_ptr<curl_slist, ListDeleter> route_;
  std::unique_ptr<curl_slist, ListDeleter> headers_;
  std::unique_ptr<CURL, HandleDeleter> handle_;
};

}  // namespace lumora_bench
