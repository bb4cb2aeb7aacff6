// HTTP for the studio's page: who may ask, the page's files, the stream. The answers come from Studio.
#include "service/StudioServer.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "service/Files.h"

namespace lumora::service {
namespace {

constexpr const char* kLoopback = "127.0.0.1";
constexpr std::size_t kThreads = 64;
constexpr int kMostStreams = 16;
constexpr std::size_t kLargestBody = 16U * 1024 * 1024;
constexpr int kDeepestArgument = 300;
constexpr std::size_t kTokenLength = 32;

constexpr const char* kPagePolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; "
    "frame-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
/// Beside the page's own policy, which names its style sheet and its script.
constexpr const char* kMessagePolicy = "sandbox allow-scripts; img-src data:; frame-ancestors 'self'";

constexpr const char* kNoPage =
    "<!DOCTYPE html><html lang=\"en\"><meta charset=\"utf-8\"><title>Studio</title><h1>The studio's page is "
    "not "
    "built</h1><p>Install nodejs and npm, configure with -DLUMORA_BUILD_STUDIO=ON, and build "
    "again.</p></html>";

std::string randomToken() {
  std::array<unsigned char, kTokenLength / 2> bytes;
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
    throw std::runtime_error("There are no random numbers for the studio's token.");
  constexpr std::string_view digits = "0123456789abcdef";
  std::string token;
  for (const unsigned char byte : bytes) token.append({digits[byte >> 4U], digits[byte & 15U]});
  return token;
}

std::string keptToken(const std::string& file) {
  std::string token = readFile(file).value_or("");
  const bool isToken =
      token.size() == kTokenLength && token.find_first_not_of("0123456789abcdef") == std::string::npos;
  if (isToken) return token;
  token = randomToken();
  writePrivateFile(file, token);
  return token;
}

bool isSame(std::string_view one, std::string_view other) {
  return one.size() == other.size() && CRYPTO_memcmp(one.data(), other.data(), one.size()) == 0;
}

std::vector<std::string> partsOf(std::string_view path) {
  std::vector<std::string> parts;
  while (!path.empty()) {
    const auto end = std::min(path.size(), path.find('/'));
    parts.emplace_back(path.substr(0, end));
    path.remove_prefix(std::min(path.size(), end + 1));
  }
  return parts;
}

/// As it is: the HTTP library compresses what it is given whole, which costs more here than it saves.
void setBody(httplib::Response& response, std::string body, const std::string& type) {
  const std::size_t size = body.size();
  if (size == 0) return;
  response.set_content_provider(
      size, type, [body = std::move(body)](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
        return sink.write(body.data() + offset, length);
      });
}

/// The body's entries and the query's. A deeper object than any campaign is none.
JSON argumentsOf(const httplib::Request& request) {
  bool isTooDeep = false;
  JSON arguments = JSON::parse(
      request.body,
      [&isTooDeep](int depth, JSON::parse_event_t, const JSON&) {
        isTooDeep = isTooDeep || depth > kDeepestArgument;
        return !isTooDeep;
      },
      false);
  if (isTooDeep || !arguments.is_object()) arguments = JSON::object();
  for (const auto& [name, value] : request.params) arguments[name] = value;
  return arguments;
}

}  // namespace

StudioServer::StudioServer(Options options, Studio& studio)
    : studio_(studio), token_(keptToken(options.tokenFile)), messageToken_(randomToken()) {
  readFiles(options.pageDirectory, options.messagePage);
  server_.new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
  server_.set_tcp_nodelay(true);
  // A thread that waits for one page's next question is missed by the others.
  server_.set_keep_alive_timeout(2);
  server_.set_keep_alive_max_count(100'000);
  server_.set_payload_max_length(kLargestBody);
  // The library's own choice would let two services share one port.
  server_.set_socket_options([](int socket) {
    const int on = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  });
  const auto handler = [this](const httplib::Request& request, httplib::Response& response) {
    handle(request, response);
  };
  server_.Get("/.*", handler);
  server_.Post("/.*", handler);
  if (options.port == 0) {
    port_ = server_.bind_to_any_port(kLoopback);
  } else if (server_.bind_to_port(kLoopback, options.port)) {
    port_ = options.port;
  }
  if (port_ <= 0) {
    throw std::runtime_error("The studio's port " + std::to_string(options.port) +
                             " cannot be used: " + std::strerror(errno) + "; port 0 picks a free one.");
  }
  listener_ = std::thread([this] { server_.listen_after_bind(); });
  // Until then stop() would do nothing.
  while (!server_.is_running()) std::this_thread::yield();
}

StudioServer::~StudioServer() {
  studio_.feed().end();
  server_.stop();
  listener_.join();
}

std::string StudioServer::address() const {
  return "http://127.0.0.1:" + std::to_string(port_) + '/' + token_ + '/';
}

void StudioServer::readFiles(const std::string& pageDirectory, const std::string& messagePage) {
  const std::pair<const char*, const char*> pageFiles[] = {{"index.html", "text/html; charset=utf-8"},
                                                           {"studio.js", "text/javascript; charset=utf-8"},
                                                           {"stream.js", "text/javascript; charset=utf-8"},
                                                           {"studio.css", "text/css"}};
  for (const auto& [name, type] : pageFiles)
    files_[name] = {readFile(pageDirectory + '/' + name).value_or(""), type};
  if (files_["index.html"].content.empty()) files_["index.html"].content = kNoPage;
  files_[""] = files_["index.html"];
  messagePage_ = readFile(messagePage).value_or("");
}

bool StudioServer::isFromHere(const httplib::Request& request) const {
  const std::string host = "127.0.0.1:" + std::to_string(port_);
  if (request.get_header_value_count("Host") != 1 || request.get_header_value("Host") != host) return false;
  // Browsers name the origin of whatever may change something.
  if (request.method != "GET" || request.has_header("Origin"))
    if (request.get_header_value_count("Origin") != 1 ||
        request.get_header_value("Origin") != "http://" + host)
      return false;
  const std::string site = request.get_header_value("Sec-Fetch-Site");
  return site.empty() || site == "same-origin" || site == "none";
}

void StudioServer::setHeaders(httplib::Response& response, bool isMessagePage) const {
  response.set_header("Content-Security-Policy", isMessagePage ? kMessagePolicy : kPagePolicy);
  response.set_header("X-Content-Type-Options", "nosniff");
  response.set_header("Referrer-Policy", "no-referrer");
  response.set_header("Cross-Origin-Resource-Policy", "same-origin");
  response.set_header("Cache-Control", "no-store");
}

void StudioServer::handle(const httplib::Request& request, httplib::Response& response) {
  std::string_view path = request.path;
  path.remove_prefix(1);
  const std::string_view token = path.substr(0, path.find('/'));
  path.remove_prefix(std::min(path.size(), token.size() + 1));
  const bool isMessagePage = isSame(token, messageToken_) && path == "message" && request.method == "GET";
  setHeaders(response, isMessagePage);
  if (!isFromHere(request) || (!isMessagePage && !isSame(token, token_))) {
    response.status = 403;
    setBody(response, "Refused.\n", "text/plain");
  } else if (isMessagePage) {
    setBody(response, messagePage_, "text/html; charset=utf-8");
  } else {
    answer(request, path, response);
  }
}

void StudioServer::answer(const httplib::Request& request, std::string_view path,
                          httplib::Response& response) {
  constexpr std::string_view questions = "api/";
  const auto file = files_.find(path);
  if (request.method == "GET" && path == "live") {
    stream(request, response);
  } else if (path.starts_with(questions)) {
    const StudioAnswer result = studio_.answer(
        {request.method, partsOf(path.substr(questions.size())), argumentsOf(request), request.body});
    response.status = result.status;
    setBody(response, result.body, result.contentType);
  } else if (request.method == "GET" && path == "message-address") {
    setBody(response, '/' + messageToken_ + "/message", "text/plain");
  } else if (request.method == "GET" && file != files_.end() && !file->second.content.empty()) {
    setBody(response, file->second.content, file->second.type);
  } else {
    response.status = 404;
    setBody(response, "There is nothing at this path.\n", "text/plain");
  }
}

void StudioServer::stream(const httplib::Request& request, httplib::Response& response) {
  if (streams_.fetch_add(1) >= kMostStreams) {
    --streams_;
    response.status = 503;
    setBody(response, "16 browsers follow the studio already.\n", "text/plain");
    return;
  }
  const std::string known = request.has_header("Last-Event-ID") ? request.get_header_value("Last-Event-ID")
                                                                : request.get_param_value("after");
  std::uint64_t last = 0;
  std::from_chars(known.data(), known.data() + known.size(), last);
  bool isFirst = true;
  response.set_chunked_content_provider(
      "text/event-stream",
      [this, last, isFirst](std::size_t, httplib::DataSink& sink) mutable {
        // The first bytes open the stream; later ones of this kind find out that nobody reads any more.
        const std::string_view nothing = isFirst ? "retry: 500\n\n" : ":\n\n";
        const auto messages = isFirst ? LiveFeed::Messages{"", last, false} : studio_.feed().next(last);
        isFirst = false;
        last = messages.last;
        if (messages.hasEnded) return false;
        const std::string_view text = messages.text.empty() ? nothing : std::string_view(messages.text);
        return sink.write(text.data(), text.size());
      },
      [this](bool) { --streams_; });
}

}  // namespace lumora::service
