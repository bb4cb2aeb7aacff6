#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "lumora/Platform/Mutex.h"

namespace lumora::testing {

/// A bare HTTP server on 127.0.0.1 that lets a test see the bytes of each request and choose those of the
/// answer. Each connection has a thread of its own.
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
    if (::bind(listener_, place, length) != 0 || ::listen(listener_, 16) != 0 ||
        ::getsockname(listener_, place, &length) != 0) {
      throw std::runtime_error("no port");
    }
    address_ = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    acceptor_ = std::jthread([this] { acceptConnections(); });
  }
  explicit HTTPTestServer(std::string answer, bool closes = false)
      : HTTPTestServer([=](std::size_t) {
          return Reply{answer, closes};
        }) {}
  ~HTTPTestServer() {
    ::shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    for (const int socket : sockets_) ::shutdown(socket, SHUT_RDWR);
    threads_.clear();
    for (const int socket : sockets_) ::close(socket);
    ::close(listener_);
  }
  HTTPTestServer(const HTTPTestServer&) = delete;
  HTTPTestServer& operator=(const HTTPTestServer&) = delete;

  /// `127.0.0.1:PORT`
  const std::string& address() const { return address_; }
  std::string url(const std::string& path = "/") const { return "http://" + address_ + path; }
  std::vector<std::string> requests() const {
    const Lock lock(mutex_);
    return requests_;
  }
  std::size_t connectionCount() const {
    const Lock lock(mutex_);
    return connections_;
  }

 private:
  void acceptConnections() {
    for (;;) {
      const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
      if (socket < 0) return;
      sockets_.push_back(socket);
      threads_.emplace_back([this, socket] { serve(socket); });
      const Lock lock(mutex_);
      ++connections_;
    }
  }

  void serve(int socket) {
    for (std::string request = receive(socket); !request.empty(); request = receive(socket)) {
      std::size_t number = 0;
      {
        const Lock lock(mutex_);
        number = requests_.size();
        requests_.push_back(request);
      }
      const Reply reply = handler_(number);
      ::send(socket, reply.bytes.data(), reply.bytes.size(), MSG_NOSIGNAL);
      if (reply.closesConnection) ::shutdown(socket, SHUT_RDWR);
    }
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
      constexpr std::string_view name = "\r\nContent-Length: ";
      std::size_t bodyLength = 0;
      if (const auto at = request.find(name); at < headEnd) {
        std::from_chars(request.data() + at + name.size(), request.data() + headEnd, bodyLength);
      }
      if (request.size() >= headEnd + 4 + bodyLength) return request;
    }
  }

  const Handler handler_;
  const int listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  std::string address_;
  mutable Mutex mutex_;
  std::vector<std::string> requests_ LUMORA_GUARDED_BY(mutex_);
  std::size_t connections_ LUMORA_GUARDED_BY(mutex_) = 0;
  // The acceptor's alone while it runs.
  std::vector<int> sockets_;
  std::vector<std::jthread> threads_;
  std::jthread acceptor_;
};

}  // namespace lumora::testing
