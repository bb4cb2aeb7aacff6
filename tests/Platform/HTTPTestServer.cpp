#include "tests/Platform/HTTPTestServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <stdexcept>
#include <string_view>
#include <tuple>

namespace lumora::testing_support {
namespace {

/// A socket bound to a free port of 127.0.0.1, and that port.
std::pair<int, int> boundSocket() {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (::bind(socket, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
      ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    throw std::runtime_error("no port");
  }
  return {socket, ntohs(address.sin_port)};
}

/// The length of the first request in the bytes, or 0 while it is not whole.
std::size_t requestLength(std::string_view bytes) {
  const auto headEnd = bytes.find("\r\n\r\n");
  if (headEnd == std::string_view::npos) return 0;
  std::size_t bodyLength = 0;
  constexpr std::string_view name = "\r\nContent-Length: ";
  if (const auto at = bytes.substr(0, headEnd).find(name); at != std::string_view::npos) {
    const char* const number = bytes.data() + at + name.size();
    std::from_chars(number, bytes.data() + headEnd, bodyLength);
  }
  const std::size_t whole = headEnd + 4 + bodyLength;
  return bytes.size() >= whole ? whole : 0;
}

void sendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace

HTTPTestServer::HTTPTestServer(Handler handler) : handler_(std::move(handler)) {
  std::tie(listeningSocket_, port_) = boundSocket();
  constexpr int backlog = 16;
  ::listen(listeningSocket_, backlog);
  acceptor_ = std::thread([this] { acceptConnections(); });
}

HTTPTestServer::~HTTPTestServer() {
  ::shutdown(listeningSocket_, SHUT_RDWR);
  acceptor_.join();
  std::vector<std::thread> threads;
  {
    const Lock lock(mutex_);
    isStopping_ = true;
    for (const int socket : sockets_) ::shutdown(socket, SHUT_RDWR);
    threads.swap(threads_);
  }
  for (std::thread& thread : threads) thread.join();
  const Lock lock(mutex_);
  for (const int socket : sockets_) ::close(socket);
  ::close(listeningSocket_);
}

std::vector<std::string> HTTPTestServer::requests() const {
  const Lock lock(mutex_);
  return requests_;
}

std::size_t HTTPTestServer::connectionCount() const {
  const Lock lock(mutex_);
  return sockets_.size();
}

void HTTPTestServer::acceptConnections() {
  for (;;) {
    const int socket = ::accept4(listeningSocket_, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0) return;
    const Lock lock(mutex_);
    sockets_.push_back(socket);
    threads_.emplace_back([this, socket] { serve(socket); });
  }
}

void HTTPTestServer::serve(int socket) {
  std::string received;
  std::array<char, 65536> buffer;
  for (;;) {
    const std::size_t length = requestLength(received);
    if (length == 0) {
      const ssize_t count = ::recv(socket, buffer.data(), buffer.size(), 0);
      if (count <= 0) return;
      received.append(buffer.data(), static_cast<std::size_t>(count));
      continue;
    }
    const std::string request = received.substr(0, length);
    received.erase(0, length);
    std::size_t number = 0;
    {
      const Lock lock(mutex_);
      number = requests_.size();
      requests_.push_back(request);
    }
    const Reply reply = handler_(request, number);
    sendAll(socket, reply.bytes);
    if (reply.closesConnection) {
      ::shutdown(socket, SHUT_RDWR);
      return;
    }
  }
}

std::string httpAnswer(const std::string& body, const std::string& statusLine, const std::string& headers) {
  return "HTTP/1.1 " + statusLine + "\r\n" + headers + "Content-Length: " + std::to_string(body.size()) +
         "\r\n\r\n" + body;
}

int closedPort() {
  const auto [socket, port] = boundSocket();
  ::close(socket);
  return port;
}

}  // namespace lumora::testing_support
