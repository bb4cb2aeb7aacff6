#include "bench/PlainClient.h"

#include <stdexcept>

namespace lumora_bench {
namespace {

std::size_t takeBytes(char*, std::size_t size, std::size_t count, void*) {
  return size * count;
}

}  // namespace

PlainClient::PlainClient(const std::string& address, const std::string& authorityFile)
    : route_(curl_slist_append(nullptr, ("::" + address).c_str())), handle_(curl_easy_init()) {
  curl_easy_setopt(handle_.get(), CURLOPT_CONNECT_TO, route_.get());
  curl_easy_setopt(handle_.get(), CURLOPT_NOPROXY, "*");
  curl_easy_setopt(handle_.get(), CURLOPT_CAINFO, authorityFile.c_str());
  curl_easy_setopt(handle_.get(), CURLOPT_CAPATH, nullptr);
  curl_easy_setopt(handle_.get(), CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  curl_easy_setopt(handle_.get(), CURLOPT_WRITEFUNCTION, takeBytes);
}

void PlainClient::setHeaders(const std::vector<std::string>& headers) {
  headers_.reset();
  for (const std::string& header : headers)
    headers_.reset(curl_slist_append(headers_.release(), header.c_str()));
  curl_easy_setopt(handle_.get(), CURLOPT_HTTPHEADER, headers_.get());
}

long PlainClient::get(const std::string& url) {
  curl_easy_setopt(handle_.get(), CURLOPT_HTTPGET, 1L);
  return perform(url);
}

long PlainClient::post(const std::string& url, const std::string& body) {
  curl_easy_setopt(handle_.get(), CURLOPT_POSTFIELDS, body.c_str());
  curl_easy_setopt(handle_.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
  return perform(url);
}

long PlainClient::perform(const std::string& url) {
  curl_easy_setopt(handle_.get(), CURLOPT_URL, url.c_str());
  if (const CURLcode result = curl_easy_perform(handle_.get()); result != CURLE_OK) {
    throw std::runtime_error(std::string("the floor's request failed: ") + curl_easy_strerror(result));
  }
  long status = 0;
  curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status);
  return status;
}

}  // namespace lumora_bench
