// The running service: listens, reads bodies, lets accounts misbehave, records every request. Answers come
// from Endpoints, connections from HTTPSServer.
#include "service/Service.h"

#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "lumora/Platform/ASCII.h"
#include "service/Accounts.h"
#include "service/Endpoints.h"
#include "service/EventArchive.h"
#include "service/HTTPSServer.h"

namespace lumora::service {
namespace {

constexpr const char* kAddress = "127.0.0.1";
constexpr std::size_t kMaximumBodySize = 64U * 1024 * 1024;

const std::string& usable(const std::string& domain) {
  const bool isDomain = !domain.empty() && std::ranges::all_of(domain, [](char c) {
    return isASCIILetter(c) || isASCIIDigit(c) || c == '.' || c == '-';
  });
  if (!isDomain)
    throw std::runtime_error("\"" + domain + "\" is no domain; it has letters, digits, \"-\" and \".\".");
  return domain;
}

const std::string& madeDirectory(const std::string& directory) {
  std::error_code error;
  std::filesystem::path path(directory);
  if (!path.has_filename()) path = path.parent_path();
  if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path(), error);
  // Keys and reported events are nobody else's business.
  const int failure = ::mkdir(path.c_str(), 0700) == 0 ? 0 : errno;
  if (!std::filesystem::is_directory(path, error)) {
    throw std::runtime_error("The folder " + directory + " cannot be made: " + std::strerror(failure) + '.');
  }
  return directory;
}

std::string accountId(const httplib::Request& request) {
  const std::string host = request.get_header_value("Host");
  return host.substr(0, host.find_first_of(".:"));
}

/// The entries that the HTTP library adds on its own.
bool isSentByClient(const std::string& header) {
  return header != "REMOTE_ADDR" && header != "REMOTE_PORT" && header != "LOCAL_ADDR" &&
         header != "LOCAL_PORT";
}

RequestRecord recordOf(const httplib::Request& request, std::string_view body) {
  RequestRecord record;
  record.time = std::chrono::system_clock::now();
  record.method = request.method;
  const auto question = request.target.find('?');
  record.path = request.target.substr(0, question);
  if (question != std::string::npos) record.query = request.target.substr(question + 1);
  for (const auto& [name, value] : request.headers) {
    if (isSentByClient(name)) record.headers.emplace_back(name, value);
  }
  record.bodySize = body.size();
  return record;
}

void fill(httplib::Response& response, const Answer& answer, bool truncates) {
  response.status = answer.status;
  if (!answer.tag.empty()) response.set_header("ETag", answer.tag);
  if (!answer.refusal.empty()) response.set_header("Connection", "close");
  if (truncates) {
    response.set_content_provider(answer.body.size() + 1, answer.contentType,
                                  [body = answer.body](std::size_t, std::size_t, httplib::DataSink& sink) {
                                    sink.write(body.data(), body.size() / 2);
                                    return false;
                                  });
  } else if (!answer.body.empty()) {
    response.set_content(answer.body, answer.contentType);
  }
}

bool hasBody(const httplib::Request& request) {
  const std::string length = request.get_header_value("Content-Length");
  return request.has_header("Transfer-Encoding") || length.find_first_not_of('0') != std::string::npos;
}

/// Why the end of the request's body cannot be told; nothing when it can.
std::string_view bodyFault(const httplib::Request& request) {
  if (request.has_header("Transfer-Encoding")) {
    const bool isChunked = equalsIgnoringCase(request.get_header_value("Transfer-Encoding"), "chunked");
    return isChunked ? "" : "The Transfer-Encoding is not chunked.";
  }
  if (!request.has_header("Content-Length")) return {};
  const std::string length = request.get_header_value("Content-Length");
  const bool isNumber = !length.empty() && std::ranges::all_of(length, isASCIIDigit);
  const bool isOnlyOne = request.get_header_value_count("Content-Length") == 1;
  return isNumber && isOnlyOne ? "" : "The Content-Length is no number.";
}

}  // namespace

struct Service::State {
  explicit State(ServiceOptions given)
      : options(std::move(given)),
        authority(madeDirectory(options.dataDirectory)),
        accounts(options.accountsFile),
        shownCertificate(accounts.certificate().value_or(options.certificate)),
        identity(authority.issue(usable(options.domain), shownCertificate)),
        archive(options.dataDirectory + "/service.sqlite"),
        endpoints(archive, options.assetsDirectory),
        server(identity, [this](const auto& request, auto& response, int status, std::string_view reason) {
          refuse(request, response, status, reason);
        }) {}

  void start();
  void setRoutes();
  void stop();
  void readReport(const httplib::Request& request, const httplib::ContentReader& read,
                  httplib::Response& response);
  void handle(const httplib::Request& request, std::string_view body, httplib::Response& response);
  void refuse(const httplib::Request& request, httplib::Response& response, int status,
              std::string_view reason);
  Answer answer(const httplib::Request& request, std::string_view body, const Account* account,
                const Misbehaviour& misbehaviour);
  void wait(std::chrono::milliseconds delay);
  bool chooseCertificate();

  const ServiceOptions options;
  const CertificateAuthority authority;
  Accounts accounts;
  Mutex certificateMutex;
  CertificateKind shownCertificate LUMORA_GUARDED_BY(certificateMutex);
  const Identity identity;
  EventArchive archive;
  Endpoints endpoints;
  HTTPSServer server;
  int port = -1;

  Mutex stopMutex;
  std::condition_variable_any stopCondition;
  bool isStopping LUMORA_GUARDED_BY(stopMutex) = false;

  std::atomic<bool> hasEnded = false;
  std::thread listener;
};

void Service::State::start() {
  if (!server.is_valid()) throw std::runtime_error("The HTTPS server cannot be made.");
  server.set_tcp_nodelay(true);
  // The library's own choice would let two services share one port.
  server.set_socket_options([](int socket) {
    const int on = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  });
  setRoutes();

  if (options.port == 0) {
    port = server.bind_to_any_port(kAddress);
  } else if (server.bind_to_port(kAddress, options.port)) {
    port = options.port;
  }
  if (port <= 0) {
    throw std::runtime_error("The port " + std::to_string(options.port) +
                             " cannot be used: " + std::strerror(errno) + "; port 0 picks a free one.");
  }
  listener = std::thread([this] {
    server.listen_after_bind();
    hasEnded = true;
  });
  // Until then stop() would do nothing.
  while (!server.is_running() && !hasEnded) std::this_thread::yield();
}

void Service::State::setRoutes() {
  // Bodies are read only for the path that has one; everything else is answered from its first lines.
  server.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
    const bool isReport = request.method == "POST" && request.path == kReportPath;
    if (const auto fault = bodyFault(request); !fault.empty()) {
      refuse(request, response, 400, fault);
    } else if (isReport && hasBody(request)) {
      return httplib::Server::HandlerResponse::Unhandled;
    } else {
      handle(request, {}, response);
      // What is left unread would be taken for the next request.
      if (hasBody(request)) Connection::of(request)->endAfterAnswer();
    }
    return httplib::Server::HandlerResponse::Handled;
  });
  // Reading the body here instead of there escapes the library's limit for bodies that call themselves forms.
  server.Post(kReportPath,
              [this](const httplib::Request& request, httplib::Response& response,
                     const httplib::ContentReader& read) { readReport(request, read, response); });
}

void Service::State::readReport(const httplib::Request& request, const httplib::ContentReader& read,
                                httplib::Response& response) {
  std::string body;
  bool isTooLarge = request.get_header_value<std::uint64_t>("Content-Length") > kMaximumBodySize;
  const bool isWhole = !isTooLarge && read([&](const char* data, std::size_t length) {
    isTooLarge = body.size() + length > kMaximumBodySize;
    if (!isTooLarge) body.append(data, length);
    return !isTooLarge;
  });
  if (isWhole) {
    handle(request, body, response);
  } else if (isTooLarge) {
    refuse(request, response, 413, "The report is larger than 64 MiB.");
  } else {
    refuse(request, response, 400, "The report did not come whole.");
  }
}

void Service::State::stop() {
  {
    const Lock lock(stopMutex);
    isStopping = true;
  }
  stopCondition.notify_all();
  server.stop();
  server.endConnections();
  if (listener.joinable()) listener.join();
}

void Service::State::wait(std::chrono::milliseconds delay) {
  const auto end = std::chrono::steady_clock::now() + delay;
  const Lock lock(stopMutex);
  while (!isStopping && stopCondition.wait_until(stopMutex, end) == std::cv_status::no_timeout) {
  }
}

Answer Service::State::answer(const httplib::Request& request, std::string_view body, const Account* account,
                              const Misbehaviour& misbehaviour) {
  Answer result;
  if (misbehaviour.body) {
    result.body = *misbehaviour.body;
  } else {
    try {
      result = endpoints.answer(request, body, account);
    } catch (const std::exception& error) {
      result = refusal(error.what(), 500);
    }
  }
  if (misbehaviour.status) result.status = *misbehaviour.status;
  return result;
}

/// Returns whether it is another one now. A file that is changed is seen with the next request at the latest.
bool Service::State::chooseCertificate() {
  const CertificateKind wanted = accounts.certificate().value_or(options.certificate);
  const Lock lock(certificateMutex);
  if (wanted == shownCertificate) return false;
  shownCertificate = wanted;
  server.show(authority.issue(options.domain, wanted));
  return true;
}

void Service::State::handle(const httplib::Request& request, std::string_view body,
                            httplib::Response& response) {
  const auto account = accounts.find(accountId(request));
  Misbehaviour misbehaviour;
  if (account)
    misbehaviour = accounts.takeMisbehaviour(*account, endpointOf(request.path)).value_or(misbehaviour);
  if (misbehaviour.delay.count() > 0) wait(misbehaviour.delay);

  RequestRecord record = recordOf(request, body);
  if (account) record.account = account->id;
  if (misbehaviour.drop != Misbehaviour::Drop::before) {
    const Answer result = answer(request, body, account.get(), misbehaviour);
    record.events = result.events;
    record.refusal = result.refusal;
    record.status = misbehaviour.drop == Misbehaviour::Drop::after ? 0 : result.status;
    fill(response, result, misbehaviour.truncates);
  }
  options.onRequest(record);
  if (chooseCertificate()) Connection::of(request)->endAfterAnswer();
  if (misbehaviour.drop != Misbehaviour::Drop::never) Connection::of(request)->breakOff();
}

/// For requests that no account's misbehaviour concerns, since they cannot be read as they should.
void Service::State::refuse(const httplib::Request& request, httplib::Response& response, int status,
                            std::string_view reason) {
  const Answer result = refusal(reason, status);
  fill(response, result, false);
  RequestRecord record = recordOf(request, {});
  if (const auto account = accounts.find(accountId(request))) record.account = account->id;
  record.status = status;
  record.refusal = result.refusal;
  options.onRequest(record);
}

Service::Service(ServiceOptions options) : state_(std::make_unique<State>(std::move(options))) {
  state_->start();
}

Service::~Service() {
  state_->stop();
}

int Service::port() const noexcept {
  return state_->port;
}

const std::string& Service::certificateAuthorityFile() const noexcept {
  return state_->authority.file();
}

CertificateKind Service::certificate() {
  state_->chooseCertificate();
  const Lock lock(state_->certificateMutex);
  return state_->shownCertificate;
}

std::int64_t Service::failedHandshakes() const noexcept {
  return state_->server.failedHandshakes();
}

std::vector<std::int64_t> Service::strikes(const std::string& account) {
  return state_->accounts.strikes(account);
}

}  // namespace lumora::service
