// The HTTP library's server with TLS and threads of our own, and refusals for what never becomes a request.
// What is answered is decided in Service.cpp.
#include "service/HTTPSServer.h"

#include <fmt/format.h>
#include <openssl/err.h>
#include <openssl/sslerr.h>
#include <sys/socket.h>
#include <unistd.h>

#include <iostream>
#include <thread>

namespace lumora::service {
namespace {

/// Enough for any development, and below the usual limit of open files.
constexpr int kMaximumConnections = 500;

/// What the library means by the status with which it refuses a request.
std::string_view reasonOf(int status) {
  if (status == 414) return "The request's first line is too long.";
  if (status == 416) return "The Range header is no range.";
  return "This is no HTTP/1.1 request, or a line of it is longer than 8192 bytes.";
}

/// Clients that do not trust the service never come to a request, so this is all there is to see of them.
/// Returns whether there was anything to say.
bool sayWhyHandshakeFailed() {
  const auto error = ERR_peek_last_error();
  const char* const reason = ERR_reason_error_string(error);
  // A client that only looks whether the port is open says nothing.
  if (reason == nullptr || ERR_GET_REASON(error) == SSL_R_UNEXPECTED_EOF_WHILE_READING) return false;
  std::cerr << fmt::format("A connection failed ({}): clients speak HTTPS and trust the file ca.pem.\n",
                           reason);
  return true;
}

}  // namespace

/// Connections wait for each other's clients when they have to share threads.
class HTTPSServer::Threads : public httplib::TaskQueue {
 public:
  void enqueue(std::function<void()> task) override {
    const Lock lock(mutex_);
    while (running_ >= kMaximumConnections) condition_.wait(mutex_);
    ++running_;
    std::thread([this, task = std::move(task)] {
      task();
      const Lock ended(mutex_);
      --running_;
      condition_.notify_all();
    }).detach();
  }

  void shutdown() override {
    const Lock lock(mutex_);
    while (running_ > 0) condition_.wait(mutex_);
  }

 private:
  Mutex mutex_;
  std::condition_variable_any condition_;
  int running_ LUMORA_GUARDED_BY(mutex_) = 0;
};

HTTPSServer::Context HTTPSServer::contextFor(const Identity& identity) {
  const Context context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
  if (context == nullptr) return nullptr;
  SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
  const bool isUsable = SSL_CTX_use_certificate(context.get(), identity.certificate.get()) == 1 &&
                        SSL_CTX_use_PrivateKey(context.get(), identity.key.get()) == 1;
  return isUsable ? context : nullptr;
}

HTTPSServer::HTTPSServer(const Identity& identity, Refuse refuse)
    : refuse_(std::move(refuse)), context_(contextFor(identity)) {
  new_task_queue = [] { return new Threads; };
  set_error_handler(HandlerWithResponse([this](const httplib::Request& request, httplib::Response& response) {
    if (Connection::of(request) != nullptr) return HandlerResponse::Unhandled;
    refuse_(request, response, response.status, reasonOf(response.status));
    return HandlerResponse::Handled;
  }));
  set_post_routing_handler(finishHeaders);
}

void HTTPSServer::finishHeaders(const httplib::Request& request, httplib::Response& response) {
  // It announces limits of the library that do not hold here.
  response.headers.erase("Keep-Alive");
  auto* const connection = Connection::of(request);
  const bool isRefused = response.get_header_value("Connection") == "close";
  if (connection != nullptr && isRefused) connection->endAfterAnswer();
  if (connection != nullptr && connection->isEnding() && !isRefused)
    response.set_header("Connection", "close");
}

HTTPSServer::Context HTTPSServer::contextForNext() const {
  const Lock lock(mutex_);
  return context_;
}

void HTTPSServer::show(const Identity& identity) {
  Context context = contextFor(identity);
  if (!context) return;
  failedHandshakes_ = 0;
  const Lock lock(mutex_);
  context_ = std::move(context);
  for (const int socket : sockets_) ::shutdown(socket, SHUT_RD);
}

void HTTPSServer::endConnections() {
  const Lock lock(mutex_);
  isEnding_ = true;
  for (const int socket : sockets_) ::shutdown(socket, SHUT_RD);
}

bool HTTPSServer::process_and_close_socket(socket_t socket) {
  const Context context = contextForNext();
  {
    const Lock lock(mutex_);
    sockets_.insert(socket);
    if (isEnding_) ::shutdown(socket, SHUT_RD);
  }
  {
    Connection connection(context.get(), socket);
    if (connection.accept()) {
      serve(connection);
    } else if (sayWhyHandshakeFailed()) {
      ++failedHandshakes_;
    }
  }
  const Lock lock(mutex_);
  sockets_.erase(socket);
  ::close(socket);
  return true;
}

void HTTPSServer::serve(Connection& connection) {
  for (bool continues = true; continues;) {
    const Connection::Head head = connection.readHead();
    if (head == Connection::Head::none) break;
    continues = head == Connection::Head::whole && answerOne(connection);
    if (head != Connection::Head::whole) refuseHead(connection, head);
  }
  connection.end();
}

/// Returns whether another request may follow on the connection.
bool HTTPSServer::answerOne(Connection& connection) {
  bool isUnderstood = false;
  bool isClosedByClient = false;
  const bool isAnswered =
      process_request(connection, false, isClosedByClient, [&](httplib::Request& request) {
        isUnderstood = true;
        request.ssl = connection.tls();
        request.target = connection.target();
        // Whole answers only: the library would send a part with the status of the whole.
        request.ranges.clear();
      });
  return isAnswered && isUnderstood && !isClosedByClient && !connection.isEnding();
}

void HTTPSServer::refuseHead(Connection& connection, Connection::Head head) {
  const bool isTooLarge = head == Connection::Head::tooLarge;
  httplib::Response response;
  refuse_({}, response, isTooLarge ? 431 : 408,
          isTooLarge ? "The request's headers are larger than 64 KiB."
                     : "The request did not come whole in time.");
  const std::string bytes = fmt::format(
      "HTTP/1.1 {} Refused\r\nConnection: close\r\nContent-Type: application/json\r\nContent-Length: "
      "{}\r\n\r\n{}",
      response.status, response.body.size(), response.body);
  connection.write(bytes.data(), bytes.size());
}

}  // namespace lumora::service
