#pragma once

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "lumora/Platform/Mutex.h"

namespace lumora::testing_support {

/// A bare HTTP server on 127.0.0.1 that lets a test see the bytes of each request and choose those of the
/// answer.
class HTTPTestServer {
 public:
  struct Reply {
    std::string bytes;
    bool closesConnection = false;
  };
  /// Gets a whole request, its head and body, and its number among all requests, from 0. Called on the thread
  /// of the connection.
  using Handler = std::function<Reply(const std::string& request, std::size_t number)>;

  explicit HTTPTestServer(Handler handler);
  ~HTTPTestServer();
  HTTPTestServer(const HTTPTestServer&) = delete;
  HTTPTestServer& operator=(const HTTPTestServer&) = delete;

  /// `127.0.0.1:PORT`
  std::string address() const { return "127.0.0.1:" + std::to_string(port_); }
  std::string url(const std::string& path = "/") const { return "http://" + address() + path; }

  std::vector<std::string> requests() const;
  std::size_t connectionCount() const;

 private:
  void acceptConnections();
  void serve(int socket);

  Handler handler_;
  int listeningSocket_ = -1;
  int port_ = 0;
  mutable Mutex mutex_;
  bool isStopping_ LUMORA_GUARDED_BY(mutex_) = false;
  std::vector<std::string> requests_ LUMORA_GUARDED_BY(mutex_);
  std::vector<int> sockets_ LUMORA_GUARDED_BY(mutex_);
  std::vector<std::thread> threads_ LUMORA_GUARDED_BY(mutex_);
  std::thread acceptor_;
};

/// A whole answer with the body's length.
std::string httpAnswer(const std::string& body, const std::string& statusLine = "200 OK",
                       const std::string& headers = "");

/// A port of 127.0.0.1 on which nothing listens.
int closedPort();

}  // namespace lumora::testing_support
