#pragma once

#include <httplib.h>

#include <atomic>
#include <map>
#include <string>
#include <string_view>
#include <thread>

#include "service/Studio.h"

namespace lumora::service {

/// Serves the studio's page to browsers on this machine: plain HTTP on 127.0.0.1, behind a random token that
/// begins every path. Requests with another host, from another origin, or without the token are refused.
class StudioServer {
 public:
  struct Options {
    /// 0 picks a free one.
    int port = 0;
    /// The built page's files.
    std::string pageDirectory;
    /// The page of the message screens, LMRInApp.html.
    std::string messagePage;
    /// Where the token is kept, mode 0600, so that a page finds the studio again after a restart.
    std::string tokenFile;
  };

  /// Throws std::runtime_error when it cannot listen.
  StudioServer(Options options, Studio& studio);
  ~StudioServer();
  StudioServer(const StudioServer&) = delete;
  StudioServer& operator=(const StudioServer&) = delete;

  /// What to open in a browser.
  std::string address() const;

 private:
  struct File {
    std::string content;
    std::string type;
  };

  void readFiles(const std::string& pageDirectory, const std::string& messagePage);
  void handle(const httplib::Request& request, httplib::Response& response);
  bool isFromHere(const httplib::Request& request) const;
  void answer(const httplib::Request& request, std::string_view path, httplib::Response& response);
  void stream(const httplib::Request& request, httplib::Response& response);
  void setHeaders(httplib::Response& response, bool isMessagePage) const;

  Studio& studio_;
  const std::string token_;
  /// Opens the message page alone, since what runs in it can read its address.
  const std::string messageToken_;
  /// By the paths behind the token: nothing else is ever served.
  std::map<std::string, File, std::less<>> files_;
  std::string messagePage_;
  httplib::Server server_;
  int port_ = -1;
  std::atomic<int> streams_ = 0;
  std::thread listener_;
};

}  // namespace lumora::service
