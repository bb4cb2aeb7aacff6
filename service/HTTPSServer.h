#pragma once

#include <httplib.h>
#include <openssl/ssl.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "lumora/Platform/Mutex.h"
#include "service/CertificateAuthority.h"
#include "service/Connection.h"

namespace lumora::service {

/// The HTTP library's server over TLS, with a thread for each connection, whether it is busy or idle. A
/// request that is refused ends its connection, since nobody knows where the next one would begin. Any
/// thread.
class HTTPSServer : public httplib::Server {
 public:
  /// Fills the answer to a request that is refused before a handler has seen it.
  using Refuse =
      std::function<void(const httplib::Request&, httplib::Response&, int status, std::string_view reason)>;

  HTTPSServer(const Identity& identity, Refuse refuse);

  bool is_valid() const override { return contextForNext() != nullptr; }

  /// Shows another certificate to the clients that come from now on. Those that are there have to come again
  /// after the answer that they are at.
  void show(const Identity& identity);
  /// How many clients have come to no request since another certificate is shown: they do not trust it, or
  /// speak no HTTPS.
  std::int64_t failedHandshakes() const noexcept { return failedHandshakes_; }

  /// Lets every connection end after the answer that it is at, those still to come too.
  void endConnections();

 private:
  class Threads;
  using Context = std::shared_ptr<SSL_CTX>;

  static Context contextFor(const Identity& identity);
  Context contextForNext() const;
  bool process_and_close_socket(socket_t socket) override;
  void serve(Connection& connection);
  bool answerOne(Connection& connection);
  void refuseHead(Connection& connection, Connection::Head head);
  static void finishHeaders(const httplib::Request& request, httplib::Response& response);

  const Refuse refuse_;
  std::atomic<std::int64_t> failedHandshakes_ = 0;
  mutable Mutex mutex_;
  Context context_ LUMORA_GUARDED_BY(mutex_);
  bool isEnding_ LUMORA_GUARDED_BY(mutex_) = false;
  std::set<int> sockets_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::service
