// Whatever bytes a server sends, read by the real loader. The server is a thread of this process, and speaks
// without TLS.

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <mutex>
#include <string>
#include <thread>

#include "fuzz/FuzzedLibrary.h"
#include "lumora/Platform/Linux/Network/CurlURLLoader.h"

namespace {

/// Answers every request with the same bytes and ends the connection.
class Server {
 public:
  Server() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ::bind(listener_, reinterpret_cast<sockaddr*>(&address), size);
    ::listen(listener_, 16);
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    std::thread([this] { serve(); }).detach();
  }

  int port() const { return port_; }
  /// Until the next call.
  void setAnswer(std::string answer) {
    const std::lock_guard lock(mutex_);
    answer_ = std::move(answer);
  }

 private:
  /// A copy: the client may give up, and the next answer be set, while this one is still being sent.
  std::string answer() {
    const std::lock_guard lock(mutex_);
    return answer_;
  }

  void serve() {
    for (;;) {
      const int connection = ::accept(listener_, nullptr, nullptr);
      std::array<char, 4096> request{};
      const bool isAsked = ::read(connection, request.data(), request.size()) > 0;
      const std::string bytes = answer();
      if (isAsked) ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      ::shutdown(connection, SHUT_WR);
      ::close(connection);
    }
  }

  const int listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  int port_ = 0;
  std::mutex mutex_;
  std::string answer_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static auto* const server = new Server;
  static auto* const loader = new lumora::CurlURLLoader("", "127.0.0.1:" + std::to_string(server->port()));
  server->setAnswer(lumora::fuzz::textOf(data, size));
  lumora::URLRequest request;
  request.url = "http://acme.lumora.example/picture";
  request.maximumBodySize = 100000;
  request.maximumRedirects = 2;
  request.longestTransfer = std::chrono::seconds(5);
  const lumora::URLResponse response = loader->load(request);
  if (response.body.size() > request.maximumBodySize) __builtin_trap();
  return 0;
}
