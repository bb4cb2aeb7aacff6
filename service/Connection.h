#pragma once

#include <httplib.h>
#include <openssl/ssl.h>

#include <memory>
#include <string>
#include <string_view>

namespace lumora::service {

/// One client's TLS connection, as the HTTP library reads requests from it and writes answers to it. It reads
/// each request's head itself, with a limit of size and time. One thread; the socket stays the caller's, and
/// its time-outs are those of every single read and write.
class Connection : public httplib::Stream {
 public:
  enum class Head {
    whole,
    /// The client has sent nothing more, or is gone.
    none,
    tooLarge,
    /// It ended, or came too slowly.
    incomplete
  };

  Connection(SSL_CTX* context, int socket);

  /// Whether the TLS handshake succeeds.
  bool accept();
  /// Waits for the next request and reads its head.
  Head readHead();
  /// The path and query of that request as they were sent.
  const std::string& target() const noexcept { return target_; }
  SSL* tls() const noexcept { return tls_.get(); }

  /// The connection ends after the answer that it is at.
  void endAfterAnswer() noexcept { isEnding_ = true; }
  bool isEnding() const noexcept { return isEnding_; }
  /// Nothing more is read or sent.
  void breakOff();
  /// Ends the connection so that the client gets the last answer even when it still sends.
  void end();

  /// The connection that a request came on; null for a request that the HTTP library refused by itself.
  static Connection* of(const httplib::Request& request);

  // httplib::Stream
  bool is_readable() const override { return true; }
  bool is_writable() const override { return true; }
  ssize_t read(char* data, std::size_t size) override;
  ssize_t write(const char* data, std::size_t size) override;
  void get_remote_ip_and_port(std::string& ip, int& port) const override;
  void get_local_ip_and_port(std::string& ip, int& port) const override;
  /// None: the library would refuse descriptors that do not fit its select().
  int socket() const override { return -1; }

 private:
  struct SSLDeleter {
    void operator()(SSL* tls) const noexcept { SSL_free(tls); }
  };

  bool waitForRequest() const;
  bool receive();
  void prepareHead(std::size_t length);

  const std::unique_ptr<SSL, SSLDeleter> tls_;
  const int socket_;
  /// Received, or prepared; the library has read it up to `next_`.
  std::string buffer_;
  std::size_t next_ = 0;
  std::string target_;
  bool isEnding_ = false;
};

}  // namespace lumora::service
