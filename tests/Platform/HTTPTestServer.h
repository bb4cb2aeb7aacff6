#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "lumora/Platform/Linux/Files/FileDescriptor.h"
#include "lumora/Platform/Mutex.h"

namespace lumora::testing {

/// A bare HTTP server on 127.0.0.1 that lets a test see the bytes of each request and choose those of the
/// answer. It serves one connection after the other.
class HTTPTestServer {
 public:
  struct Reply {
    std::string bytes;
    bool closesConnection = false;
  };
  /// Gets the request's number among all requests, from 0.
  using Handler = std::function<Reply(std::size_t number)>;

  explicit HTTPTestServer(Handler handler) : handler_(std::move(handler)) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const place = reinterpret_cast<sockaddr*>(&address);
    if (::bind(listener_.get(), place, length) != 0 || ::listen(listener_.get(), 16) != 0 ||
        ::getsockname(listener_.get(), place, &length) != 0) {
      throw std::runtime_error("no port");
    }
    address_ = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    thread_ = std::jthread([this] { run(); });
  }
  explicit HTTPTestServer(const std::string& answer, bool closes = false)
      : HTTPTestServer([=](std::size_t) {
          return Reply{answer, closes};
        }) {}
  ~HTTPTestServer() {
    ::shutdown(listener_.get(), SHUT_RDWR);
    const Lock lock(mutex_);
    isStopping_ = true;
    ::shutdown(connection_.get(), SHUT_RDWR);
  }

  /// `127.0.0.1:PORT`
  const std::string& address() const { return address_; }
  std::string url(const std::string& path = "/") const { return "http://" + address_ + path; }
  std::vector<std::string> requests() const {
    const Lock lock(mutex_);
    return requests_;
  }

 private:
  void run() {
    for (;;) {
      FileDescriptor accepted(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
      const int socket = accepted.get();
      {
        const Lock lock(mutex_);
        if (isStopping_ || !accepted.isOpen()) return;
        connection_ = std::move(accepted);
      }
      for (std::string request = receive(socket); !request.empty(); request = receive(socket)) {
        const Reply reply = handler_(remember(request));
        ::send(socket, reply.bytes.data(), reply.bytes.size(), MSG_NOSIGNAL);
        if (reply.closesConnection) ::shutdown(socket, SHUT_RDWR);
      }
    }
  }

  std::size_t remember(const std::string& request) {
    const Lock lock(mutex_);
    requests_.push_back(request);
    return requests_.size() - 1;
  }

  /// The next whole request; empty at the connection's end. Clients here await each answer.
  static std::string receive(int socket) {
    std::string request;
    std::array<char, 65536> buffer;
    for (;;) {
      const ssize_t count = ::recv(socket, buffer.data(), buffer.size(), 0);
      if (count <= 0) return {};
      request.append(buffer.data(), static_cast<std::size_t>(count));
      const auto headEnd = request.find("\r\n\r\n");
      if (headEnd == std::string::npos) continue;
      const std::string name = "\r\nContent-Length: ";
      const auto at = request.find(name);
      const std::size_t bodyLength = at < headEnd ? std::stoul(request.substr(at + name.size())) : 0;
      if (request.size() >= headEnd + 4 + bodyLength) return request;
    }
  }

  const Handler handler_;
  const FileDescriptor listener_{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
  std::string address_;
  mutable Mutex mutex_;
  bool isStopping_ LUMORA_GUARDED_BY(mutex_) = false;
  FileDescriptor connection_ LUMORA_GUARDED_BY(mutex_);
  std::vector<std::string> requests_ LUMORA_GUARDED_BY(mutex_);
  std::jthread thread_;
};

}  // namespace lumora::testing
