// One TLS connection as the HTTP library reads and writes it. The head of each request is read here, with
// limits that the library does not have; what it asks for is for Endpoints to answer.
#include "service/Connection.h"

#include <openssl/err.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <chrono>

namespace lumora::service {
namespace {

using std::chrono::steady_clock;

constexpr std::size_t kMaximumHeadSize = 64U * 1024;
constexpr std::chrono::seconds kHeadTime{10};
constexpr std::chrono::seconds kIdleTime{120};
constexpr std::chrono::seconds kFarewellTime{1};
constexpr std::string_view kHeadEnd = "\r\n\r\n";
constexpr std::string_view kLineEnd = "\r\n";

void replaceAll(std::string& text, std::size_t from, char character, std::string_view escape) {
  for (auto at = text.find(character, from); at != std::string::npos;
       at = text.find(character, at + escape.size())) {
    text.replace(at, 1, escape);
  }
}

/// The request's second word.
std::string targetOf(std::string_view line) {
  line.remove_prefix(std::min(line.size(), line.find(' ') + 1));
  return std::string(line.substr(0, line.find(' ')));
}

}  // namespace

Connection::Connection(SSL_CTX* context, int socket) : tls_(SSL_new(context)), socket_(socket) {
  SSL_set_app_data(tls_.get(), this);
  SSL_set_fd(tls_.get(), socket);
}

Connection* Connection::of(const httplib::Request& request) {
  return request.ssl == nullptr ? nullptr : static_cast<Connection*>(SSL_get_app_data(request.ssl));
}

bool Connection::accept() {
  ERR_clear_error();
  return SSL_accept(tls_.get()) == 1;
}

bool Connection::waitForRequest() const {
  if (next_ < buffer_.size() || SSL_pending(tls_.get()) > 0) return true;
  pollfd waiting{socket_, POLLIN, 0};
  return ::poll(&waiting, 1, static_cast<int>(std::chrono::milliseconds(kIdleTime).count())) > 0;
}

bool Connection::receive() {
  std::array<char, 4096> bytes;
  std::size_t count = 0;
  if (SSL_read_ex(tls_.get(), bytes.data(), bytes.size(), &count) != 1) return false;
  buffer_.append(bytes.data(), count);
  return true;
}

Connection::Head Connection::readHead() {
  if (!waitForRequest()) return Head::none;
  buffer_.erase(0, next_);
  next_ = 0;
  const auto latest = steady_clock::now() + kHeadTime;
  std::size_t end = 0;
  while ((end = buffer_.find(kHeadEnd)) == std::string::npos) {
    if (buffer_.size() > kMaximumHeadSize) return Head::tooLarge;
    const bool isLate = steady_clock::now() > latest;
    if (isLate || !receive()) return buffer_.empty() ? Head::none : Head::incomplete;
  }
  if (end > kMaximumHeadSize) return Head::tooLarge;
  prepareHead(end + kHeadEnd.size());
  return Head::whole;
}

/// Escapes what the library would take wrongly: it refuses a query that has a question mark, and decodes
/// percent escapes in headers.
void Connection::prepareHead(std::size_t length) {
  std::string head = buffer_.substr(0, length);
  const auto lineEnd = head.find(kLineEnd);
  std::string line = head.substr(0, lineEnd);
  target_ = targetOf(line);
  if (const auto question = line.find('?'); question != std::string::npos)
    replaceAll(line, question + 1, '?', "%3F");
  replaceAll(head, lineEnd, '%', "%25");
  buffer_.replace(0, length, line + head.substr(lineEnd));
}

ssize_t Connection::read(char* data, std::size_t size) {
  if (next_ == buffer_.size()) {
    buffer_.clear();
    next_ = 0;
    if (!receive()) return -1;
  }
  const std::size_t count = buffer_.copy(data, size, next_);
  next_ += count;
  return static_cast<ssize_t>(count);
}

ssize_t Connection::write(const char* data, std::size_t size) {
  std::size_t count = 0;
  return SSL_write_ex(tls_.get(), data, size, &count) == 1 ? static_cast<ssize_t>(count) : -1;
}

void Connection::breakOff() {
  ::shutdown(socket_, SHUT_RDWR);
}

void Connection::end() {
  SSL_shutdown(tls_.get());
  ::shutdown(socket_, SHUT_WR);
  // A socket that is closed with bytes unread resets the connection, which takes the answer from the client.
  const timeval farewell{kFarewellTime.count(), 0};
  ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &farewell, sizeof farewell);
  std::array<char, 4096> bytes;
  const auto latest = steady_clock::now() + kFarewellTime;
  while (steady_clock::now() < latest && ::recv(socket_, bytes.data(), bytes.size(), 0) > 0) {
  }
}

void Connection::get_remote_ip_and_port(std::string& ip, int& port) const {
  ip.clear();
  port = 0;
}

void Connection::get_local_ip_and_port(std::string& ip, int& port) const {
  get_remote_ip_and_port(ip, port);
}

}  // namespace lumora::service
