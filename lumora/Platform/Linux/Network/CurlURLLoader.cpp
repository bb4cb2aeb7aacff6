// Requests by libcurl: options, headers and bodies on their way, and what its errors mean. Connections and
// the wait are CurlHandle's, SIGPIPE is BrokenPipeGuard's, what an answer says is LMRNetworkManager's
// business.
#include "lumora/Platform/Linux/Network/CurlURLLoader.h"

#include <dlfcn.h>
#include <ifaddrs.h>
#include <net/if.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <exception>
#include <limits>
#include <string_view>

#include "lumora/Platform/ASCII.h"
#include "lumora/Platform/ForkedChild.h"
#include "lumora/Platform/Linux/Network/BrokenPipeGuard.h"
#include "lumora/Platform/Linux/Network/CurlHandle.h"
#include "lumora/Platform/Linux/Tasks/ProcessEnd.h"

namespace lumora {
namespace {

constexpr long kSilenceLimitSeconds = 60;
constexpr std::string_view kNoAnswer = "The connection was lost before an answer came.";
constexpr std::string_view kProcessEnds = "The program is ending.";
constexpr std::string_view kAborted = "The request was aborted.";

struct ListDeleter {
  void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};
using StringList = std::unique_ptr<curl_slist, ListDeleter>;

void append(StringList& list, const std::string& text) {
  // A failed append leaves the list as it was.
  curl_slist* extended = curl_slist_append(list.get(), text.c_str());
  if (extended == nullptr) throw std::bad_alloc();
  static_cast<void>(list.release());
  list.reset(extended);
}

/// What curl's callbacks work on during one request.
struct Transfer {
  const URLRequest& request;
  CURL* handle;
  URLResponse response = {};
  std::size_t bodyBytesSent = 0;
  long attempts = 0;
  /// Where the answer is: an interim answer (1xx) and that of a redirect are followed by a further one.
  enum class Stage { beforeHead, inInterimHead, inHead, afterHead } stage = Stage::beforeHead;
  bool isTooLarge = false;
  std::array<char, CURL_ERROR_SIZE> errorText = {};
};

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  const auto first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::size_t readBody(char* buffer, std::size_t size, std::size_t count, void* context) {
  auto& transfer = *static_cast<Transfer*>(context);
  const std::string_view rest = std::string_view(transfer.request.body).substr(transfer.bodyBytesSent);
  const std::size_t length = std::min(size * count, rest.size());
  std::memcpy(buffer, rest.data(), length);
  transfer.bodyBytesSent += length;
  return length;
}

std::size_t receiveBody(char* data, std::size_t size, std::size_t count, void* context) {
  auto& transfer = *static_cast<Transfer*>(context);
  const std::size_t length = size * count;
  std::string& body = transfer.response.body;
  if (length > transfer.request.maximumBodySize - body.size()) {
    transfer.isTooLarge = true;
    return CURL_WRITEFUNC_ERROR;
  }
  // An exception must not cross curl.
  try {
    body.append(data, length);
  } catch (const std::exception&) {
    return CURL_WRITEFUNC_ERROR;
  }
  return length;
}

std::size_t receiveHeader(char* data, std::size_t size, std::size_t count, void* context) {
  using enum Transfer::Stage;
  auto& transfer = *static_cast<Transfer*>(context);
  URLResponse& response = transfer.response;
  const std::string_view line(data, size * count);
  const auto colon = line.find(':');
  try {
    if (transfer.stage == beforeHead) {
      // The status line. What an earlier answer said does not count.
      const auto blank = line.find(' ');
      transfer.stage = blank != line.npos && line.substr(blank + 1).starts_with('1') ? inInterimHead : inHead;
      response.headers.clear();
      response.body.clear();
    } else if (trimmed(line).empty()) {
      if (transfer.stage != afterHead) transfer.stage = transfer.stage == inHead ? afterHead : beforeHead;
    } else if (colon != line.npos) {
      response.headers.emplace_back(trimmed(line.substr(0, colon)), trimmed(line.substr(colon + 1)));
    }
  } catch (const std::exception&) {
    return 0;
  }
  return line.size();
}

/// Called each time the request is about to be sent. On its own curl would send a request again when a reused
/// connection turns out to be dead, though the service may have acted on it already.
int allowOneAttempt(void* context, char*, char*, int, int) {
  auto& transfer = *static_cast<Transfer*>(context);
  transfer.stage = Transfer::Stage::beforeHead;
  long redirects = 0;
  curl_easy_getinfo(transfer.handle, CURLINFO_REDIRECT_COUNT, &redirects);
  return ++transfer.attempts <= redirects + 1 ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

bool hasWebScheme(std::string_view url) {
  const std::string_view scheme = url.substr(0, url.find("://"));
  return scheme.size() < url.size() &&
         (equalsIgnoringCase(scheme, "http") || equalsIgnoringCase(scheme, "https"));
}

bool sendsBody(const URLRequest& request) {
  return request.method == "POST" || request.method == "PUT" || request.method == "PATCH";
}

StringList headerList(const URLRequest& request) {
  constexpr std::string_view lineBreaks("\r\n\0", 3);
  StringList list;
  const auto isGiven = [&](std::string_view name) {
    return std::ranges::any_of(request.headers,
                               [&](const auto& header) { return equalsIgnoringCase(header.first, name); });
  };
  // A name with nothing behind its colon takes away a header that curl would add.
  for (const char* name : {"Accept", "Content-Type", "Expect"}) {
    if (!isGiven(name)) append(list, std::string(name) + ":");
  }
  for (const auto& [name, value] : request.headers) {
    // A line break would let a value smuggle in further headers.
    if (name.empty() || (name + value).find_first_of(lineBreaks) != std::string::npos) continue;
    append(list, trimmed(value).empty() ? name + ";" : name + ": " + value);
  }
  if (request.ignoresLocalCache && !isGiven("Cache-Control")) append(list, "Cache-Control: no-cache");
  return list;
}

long milliseconds(std::chrono::seconds limit) {
  // 0 would mean no limit to curl, and its limit is an int of milliseconds.
  constexpr std::chrono::seconds longest(std::numeric_limits<int>::max() / 1000);
  const std::chrono::milliseconds clamped = std::clamp(limit, std::chrono::seconds(0), longest);
  return std::max(1L, static_cast<long>(clamped.count()));
}

void setTimeouts(CURL* handle, const URLRequest& request) {
  if (request.timeout) {
    curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, milliseconds(*request.timeout));
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, milliseconds(*request.timeout));
    return;
  }
  curl_easy_setopt(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
  curl_easy_setopt(handle, CURLOPT_LOW_SPEED_TIME, kSilenceLimitSeconds);
  curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, kSilenceLimitSeconds);
  // Against a server that always sends just enough not to be silent.
  if (request.longestTransfer)
    curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, milliseconds(*request.longestTransfer));
}

void setSecurity(CURL* handle, const std::string& certificateAuthorityFile) {
  curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(handle, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
  if (certificateAuthorityFile.empty()) return;
  curl_easy_setopt(handle, CURLOPT_CAINFO, certificateAuthorityFile.c_str());
  // Without this the system's authorities would be trusted as well.
  curl_easy_setopt(handle, CURLOPT_CAPATH, nullptr);
}

void setMethod(CURL* handle, const URLRequest& request) {
  if (sendsBody(request)) {
    curl_easy_setopt(handle, CURLOPT_POST, 1L);
    curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
  } else if (request.method == "HEAD") {
    curl_easy_setopt(handle, CURLOPT_NOBODY, 1L);
  }
  if (request.method != "GET" && request.method != "POST" && request.method != "HEAD") {
    curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, request.method.c_str());
  }
}

void setCallbacks(Transfer& transfer) {
  CURL* handle = transfer.handle;
  // No seek callback: curl cannot send a body from its beginning a second time.
  curl_easy_setopt(handle, CURLOPT_READFUNCTION, readBody);
  curl_easy_setopt(handle, CURLOPT_READDATA, &transfer);
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, receiveBody);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &transfer);
  curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, receiveHeader);
  curl_easy_setopt(handle, CURLOPT_HEADERDATA, &transfer);
  curl_easy_setopt(handle, CURLOPT_PREREQFUNCTION, allowOneAttempt);
  curl_easy_setopt(handle, CURLOPT_PREREQDATA, &transfer);
  curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, transfer.errorText.data());
}

void setDestination(CURL* handle, const URLRequest& request) {
  curl_easy_setopt(handle, CURLOPT_URL, request.url.c_str());
  // Dots in a path are not for curl to resolve: a URL goes out as it was written.
  curl_easy_setopt(handle, CURLOPT_PATH_AS_IS, 1L);
  curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, request.maximumRedirects > 0 ? 1L : 0L);
  curl_easy_setopt(handle, CURLOPT_MAXREDIRS, static_cast<long>(request.maximumRedirects));
  // An announced length is refused before it is transferred; the callback sees to the others.
  curl_easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(request.maximumBodySize));
  curl_easy_setopt(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  // A name server that does not answer must not hold the request beyond its time-out.
  curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
}

/// Whether this machine has an address by which anything but itself can be reached.
bool hasNetwork() {
  ifaddrs* first = nullptr;
  // What cannot be told is not claimed.
  if (getifaddrs(&first) != 0) return true;
  bool found = false;
  for (const ifaddrs* entry = first; entry != nullptr && !found; entry = entry->ifa_next) {
    const bool isInternet = entry->ifa_addr != nullptr &&
                            (entry->ifa_addr->sa_family == AF_INET || entry->ifa_addr->sa_family == AF_INET6);
    found = isInternet && (entry->ifa_flags & IFF_UP) != 0 && (entry->ifa_flags & IFF_LOOPBACK) == 0;
  }
  freeifaddrs(first);
  return found;
}

int errorCode(CURL* handle, CURLcode result) {
  switch (result) {
    case CURLE_OPERATION_TIMEDOUT:
      return kURLErrorTimedOut;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
      // Without a network no name server can be asked, so nothing is known about the host.
      return hasNetwork() ? kURLErrorCannotFindHost : kURLErrorNotConnectedToInternet;
    case CURLE_COULDNT_CONNECT: {
      long reason = 0;
      curl_easy_getinfo(handle, CURLINFO_OS_ERRNO, &reason);
      if (reason == ENETUNREACH || reason == ENETDOWN) return kURLErrorNotConnectedToInternet;
      return reason == ETIMEDOUT ? kURLErrorTimedOut : kURLErrorCannotConnectToHost;
    }
    default:
      return kURLErrorUnknown;
  }
}

TransportError transportError(int code, std::string_view description) {
  return {std::string(kURLErrorDomain), code, std::string(description)};
}

TransportError transportError(const Transfer& transfer, CURLcode result) {
  if (transfer.isTooLarge || result == CURLE_FILESIZE_EXCEEDED) {
    return transportError(kURLErrorUnknown, "The answer is larger than " +
                                                std::to_string(transfer.request.maximumBodySize) + " bytes.");
  }
  // These two end the second attempt that curl was refused.
  if (result == CURLE_ABORTED_BY_CALLBACK || result == CURLE_SEND_FAIL_REWIND) {
    return transportError(kURLErrorUnknown, kNoAnswer);
  }
  const std::string_view text = transfer.errorText.data();
  return transportError(errorCode(transfer.handle, result), text.empty() ? curl_easy_strerror(result) : text);
}

std::string_view whyRefused() {
  return ProcessEnd::hasBegun() ? kProcessEnds : kAborted;
}

URLResponse perform(CurlHandle& handle, Transfer& transfer) {
  const CURLcode result = handle.perform();
  long status = 0;
  curl_easy_getinfo(transfer.handle, CURLINFO_RESPONSE_CODE, &status);
  transfer.response.statusCode = static_cast<int>(status);
  if (result != CURLE_OK && ProcessEnd::refusesTransfers()) {
    transfer.response.error = transportError(kURLErrorCancelled, whyRefused());
  } else if (result != CURLE_OK) {
    transfer.response.error = transportError(transfer, result);
  } else if (transfer.stage != Transfer::Stage::afterHead) {
    // To curl an answer that ends within its headers is one.
    transfer.response.error = transportError(kURLErrorUnknown, kNoAnswer);
  }
  return std::move(transfer.response);
}

/// Keeps OpenSSL, where libcurl uses it, from registering an exit handler: the process may end at any moment,
/// and OpenSSL must not be taken down under its start; and a forked child's would wait for ever, for a lock
/// that a thread of the parent held. What it frees ends with the process anyway. Where the host has used
/// OpenSSL before, there is one already, and ours behind it runs before.
void watchAheadOfTLS() {
  using Initialise = int(std::uint64_t options, const void* settings);
  // OPENSSL_INIT_NO_ATEXIT; libcurl may have been built with something else, without OpenSSL's headers.
  constexpr std::uint64_t withoutExitHandler = 0x80000;
  void* const initialise = ::dlsym(RTLD_DEFAULT, "OPENSSL_init_crypto");
  if (initialise != nullptr) reinterpret_cast<Initialise*>(initialise)(withoutExitHandler, nullptr);
  ProcessEnd::watch();
}

/// Once for the process; later calls only read the result.
bool initialiseCurl() {
  static const bool isReady = [] {
    watchAheadOfTLS();
    const bool isInitialised = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    // Whatever else has registered an exit handler meanwhile.
    ProcessEnd::watch();
    return isInitialised;
  }();
  return isReady;
}

URLResponse failed(std::string_view description, int code = kURLErrorUnknown) {
  URLResponse response;
  response.error = transportError(code, description);
  return response;
}

}  // namespace

CurlURLLoader::CurlURLLoader(std::string certificateAuthorityFile, std::string connectTo)
    : certificateAuthorityFile_(std::move(certificateAuthorityFile)), connectTo_(std::move(connectTo)) {
  initialiseCurl();
}

CurlURLLoader::~CurlURLLoader() {
  // A forked child shares the connection with its parent, who would find it closed.
  if (isForkedChild()) {
    static_cast<void>(keptHandle_.release());
    return;
  }
  // Closing a TLS connection writes to it.
  const BrokenPipeGuard guard;
  const Lock lock(mutex_);
  // The TLS library may be gone while the process ends.
  if (ProcessEnd::hasBegun()) static_cast<void>(keptHandle_.release());
  keptHandle_.reset();
}

std::unique_ptr<CurlHandle> CurlURLLoader::takeHandle() {
  {
    const Lock lock(mutex_);
    if (keptHandle_) return std::move(keptHandle_);
  }
  return CurlHandle::make();
}

void CurlURLLoader::keepHandle(std::unique_ptr<CurlHandle> handle) {
  // Forgets this request's options, and with them the pointers to it; the connection stays open.
  if (!handle->renew()) return;
  const Lock lock(mutex_);
  // Of two requests at once one gives its connection up.
  if (!keptHandle_) keptHandle_ = std::move(handle);
}

URLResponse CurlURLLoader::load(const URLRequest& request) try {
  if (!hasWebScheme(request.url) || request.url.find('\0') != std::string::npos)
    return failed("Unsupported URL.");
  const BrokenPipeGuard guard;
  // Begins before the look at the process's end and outlives the handle, whose connections may be closed
  // here.
  const ProcessEnd::Transfer underWay;
  if (ProcessEnd::refusesTransfers()) return failed(whyRefused(), kURLErrorCancelled);
  if (!initialiseCurl()) return failed("The HTTP library cannot be used.");
  std::unique_ptr<CurlHandle> handle = takeHandle();
  if (!handle) return failed("Not enough memory.");

  Transfer transfer{request, handle->easy()};
  const StringList headers = headerList(request);
  StringList connectTo;
  setCallbacks(transfer);
  setDestination(handle->easy(), request);
  setSecurity(handle->easy(), certificateAuthorityFile_);
  setMethod(handle->easy(), request);
  setTimeouts(handle->easy(), request);
  if (!connectTo_.empty()) {
    // For every host and port; a proxy of the environment would come in between.
    append(connectTo, "::" + connectTo_);
    curl_easy_setopt(handle->easy(), CURLOPT_CONNECT_TO, connectTo.get());
    curl_easy_setopt(handle->easy(), CURLOPT_NOPROXY, "*");
  }
  curl_easy_setopt(handle->easy(), CURLOPT_HTTPHEADER, headers.get());

  URLResponse response = perform(*handle, transfer);
  keepHandle(std::move(handle));
  return response;
} catch (const std::exception& error) {
  return failed(error.what());
}

}  // namespace lumora
