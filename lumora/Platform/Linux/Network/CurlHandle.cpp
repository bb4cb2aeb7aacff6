// One handle of libcurl with its connections. It runs by the multi interface, whose wait the end of the
// process can break off. Options, callbacks and what errors mean are in CurlURLLoader.cpp.
#include "lumora/Platform/Linux/Network/CurlHandle.h"

#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "lumora/Platform/Linux/Files/Files.h"
#include "lumora/Platform/Linux/Tasks/ProcessEnd.h"

namespace lumora {
namespace {

/// How often a waiting request looks around without being woken, as libcurl's own loop does.
constexpr int kLongestWaitMilliseconds = 1000;
constexpr long kKeptConnections = 5;

/// The bytes that an open file has to read and that it has under way.
using Queued = std::pair<int, int>;

/// The open files that a started program would inherit.
std::map<int, Queued> inheritedFiles() {
  std::map<int, Queued> files;
  for (const std::string& name : namesIn("/proc/self/fd").value_or(std::vector<std::string>())) {
    const int file = std::stoi(name);
    const int flags = ::fcntl(file, F_GETFD);
    if (flags < 0 || (flags & FD_CLOEXEC) != 0) continue;
    Queued& queued = files[file];
    ::ioctl(file, SIOCINQ, &queued.first);
    ::ioctl(file, SIOCOUTQ, &queued.second);
  }
  return files;
}

/// Makes a multi handle whose wake-up pair is closed in started programs. libcurl makes the pair without that
/// and tells nobody its numbers: it is the two new files on which a wake-up leaves a byte. What other threads
/// open meanwhile is left alone.
CURLM* makeMulti() {
  const auto before = inheritedFiles();
  CURLM* const multi = curl_multi_init();
  if (multi == nullptr) return nullptr;
  const auto asleep = inheritedFiles();
  curl_multi_wakeup(multi);
  for (const auto& [file, queued] : inheritedFiles()) {
    const auto earlier = asleep.find(file);
    if (before.contains(file) || earlier == asleep.end() || earlier->second == queued) continue;
    ::fcntl(file, F_SETFD, FD_CLOEXEC);
  }
  return multi;
}

curl_socket_t openSocket(void*, curlsocktype, curl_sockaddr* address) {
  // A name look-up that came back too late leads to no connection any more.
  if (ProcessEnd::refusesTransfers()) return CURL_SOCKET_BAD;
  return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

}  // namespace

std::unique_ptr<CurlHandle> CurlHandle::make() {
  std::unique_ptr<CurlHandle> handle(new CurlHandle(makeMulti(), curl_share_init()));
  return handle->multi_ != nullptr && handle->sessions_ != nullptr && handle->renew() ? std::move(handle)
                                                                                      : nullptr;
}

CurlHandle::CurlHandle(CURLM* multi, CURLSH* sessions) : multi_(multi), sessions_(sessions) {
  if (multi_ != nullptr) curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, kKeptConnections);
  if (sessions_ != nullptr) curl_share_setopt(sessions_, CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
}

CurlHandle::~CurlHandle() {
  curl_easy_cleanup(easy_);
  curl_multi_cleanup(multi_);
  curl_share_cleanup(sessions_);
}

/// A new one for each request: libcurl 7.88 looks, where an answer begins with a continued line, at the last
/// header of the handle's earlier request, which it has freed.
bool CurlHandle::renew() {
  curl_easy_cleanup(std::exchange(easy_, curl_easy_init()));
  if (easy_ == nullptr) return false;
  curl_easy_setopt(easy_, CURLOPT_SHARE, sessions_);
  curl_easy_setopt(easy_, CURLOPT_OPENSOCKETFUNCTION, openSocket);
  return true;
}

CURLcode CurlHandle::perform() {
  if (curl_multi_add_handle(multi_, easy_) != CURLM_OK) return CURLE_OUT_OF_MEMORY;
  const CURLcode result = run();
  curl_multi_remove_handle(multi_, easy_);
  return result;
}

CURLcode CurlHandle::run() {
  curl_waitfd processEnd{ProcessEnd::descriptor(), CURL_WAIT_POLLIN, 0};
  int running = 1;
  while (curl_multi_perform(multi_, &running) == CURLM_OK && running > 0) {
    if (ProcessEnd::refusesTransfers()) return CURLE_ABORTED_BY_CALLBACK;
    if (curl_multi_poll(multi_, &processEnd, 1, kLongestWaitMilliseconds, nullptr) != CURLM_OK) break;
  }
  int left = 0;
  const CURLMsg* const message = curl_multi_info_read(multi_, &left);
  // The loop itself has failed where there is no message; memory is what it fails for.
  return message != nullptr ? message->data.result : CURLE_OUT_OF_MEMORY;
}

}  // namespace lumora
