// The program around the service: options, signals, and the command that prints a deep link.
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <exception>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "lumora/Platform/Linux/Files/FileDescriptor.h"
#include "lumora/Platform/Linux/Files/StoreLock.h"
#include "service/Accounts.h"
#include "service/DeepLink.h"
#include "service/Files.h"
#include "service/RequestLog.h"
#include "service/Service.h"
#include "service/Studio.h"
#include "service/StudioFiles.h"
#include "service/StudioServer.h"

namespace {

using lumora::service::CertificateKind;

constexpr int kExitUsage = 64;
constexpr int kExitFailure = 1;

constexpr std::string_view kUsage = R"(usage: lumora-service --data DIR [options]
       lumora-service deep-link ACCOUNT --accounts FILE

  --data DIR          the service's own files; made when missing
  --port N            the port on 127.0.0.1; 0, the default, picks a free one
  --accounts FILE     the accounts; DIR/accounts.json by default
  --assets DIR        the files under /assets/; DIR/assets by default
  --domain NAME       what follows the account in host names; lumora.example by default
  --ready-file FILE   receives port and authority once the service listens
  --json-log FILE     receives one JSON object per request
  --certificate KIND  good, expired, wrong-host or other-ca
  --studio N          serves the studio, a page for a browser, on this port of 127.0.0.1; 0 picks a free one
  --host PROGRAM      the terminal host that the studio's phones run; the one beside this program by default

The accounts file says who may ask, for example acme at https://acme.lumora.example:
  {"accounts": {"acme": {"secret": "s3cret", "config": {}, "campaigns": []}}}

The second form prints a link that makes a device a test device of the account, and ends.
)";

struct Options {
  lumora::service::ServiceOptions service;
  std::string readyFile;
  std::string jsonLog;
  /// None: no studio.
  std::optional<int> studioPort;
  std::string hostProgram;
};

std::optional<int> parsePort(std::string_view text) {
  constexpr int maximumPort = 65535;
  int port = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  const bool isPort =
      error == std::errc() && end == text.data() + text.size() && port >= 0 && port <= maximumPort;
  return isPort ? std::optional(port) : std::nullopt;
}

/// Whether there is an option of that name that takes that value.
bool setOption(Options& options, std::string_view name, const std::string& value) {
  const std::map<std::string_view, std::string*> texts{{"--data", &options.service.dataDirectory},
                                                       {"--accounts", &options.service.accountsFile},
                                                       {"--assets", &options.service.assetsDirectory},
                                                       {"--domain", &options.service.domain},
                                                       {"--ready-file", &options.readyFile},
                                                       {"--json-log", &options.jsonLog},
                                                       {"--host", &options.hostProgram}};
  if (const auto text = texts.find(name); text != texts.end()) {
    *text->second = value;
    return true;
  }
  if (name == "--port") {
    const auto port = parsePort(value);
    options.service.port = port.value_or(0);
    return port.has_value();
  }
  if (name == "--studio") {
    options.studioPort = parsePort(value);
    return options.studioPort.has_value();
  }
  if (name == "--certificate") {
    const auto kind = lumora::service::certificateKindOf(value);
    options.service.certificate = kind.value_or(CertificateKind::good);
    return kind.has_value();
  }
  return false;
}

std::optional<Options> parseOptions(int count, char** arguments) {
  Options options;
  for (int i = 1; i < count; i += 2) {
    if (i + 1 == count || !setOption(options, arguments[i], arguments[i + 1])) {
      std::cerr << "lumora-service: bad option " << arguments[i]
                << (i + 1 == count ? ", or its value is missing" : std::string(" ") + arguments[i + 1])
                << "; lumora-service --help lists them\n";
      return std::nullopt;
    }
  }
  if (options.service.dataDirectory.empty()) {
    std::cerr << "lumora-service: --data is missing; it takes a folder for the service's own files\n";
    return std::nullopt;
  }
  const std::string& data = options.service.dataDirectory;
  if (options.service.accountsFile.empty()) options.service.accountsFile = data + "/accounts.json";
  if (options.service.assetsDirectory.empty()) options.service.assetsDirectory = data + "/assets";
  return options;
}

/// The studio's address is empty when there is no studio.
void announce(const lumora::service::Service& service, const std::string& studio,
              const std::string& readyFile) {
  nlohmann::ordered_json address{{"port", service.port()}, {"ca", service.certificateAuthorityFile()}};
  if (!studio.empty()) address["studio"] = studio;
  const std::string line = nlohmann::ordered_json{{"listening", address}}.dump() + '\n';
  std::fputs(line.c_str(), stdout);
  std::fflush(stdout);
  if (!readyFile.empty()) lumora::service::writePrivateFile(readyFile, address.dump() + '\n');
}

/// Of two studios on one folder each would start the other's phones and write over its list of them.
lumora::StoreLock lockedFolder(const std::string& folder) {
  lumora::FileDescriptor file(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (file.isOpen() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0) return lumora::StoreLock(std::move(file));
  if (errno == EWOULDBLOCK) {
    throw std::runtime_error("The folder " + folder +
                             " is used by another studio. End that one, or name another folder by --data.");
  }
  return {};  // The file system has no locks.
}

/// The studio with its server.
struct RunningStudio {
  RunningStudio(const Options& options, lumora::service::Service& service)
      : lock(lockedFolder(options.service.dataDirectory)),
        studio({options.service.dataDirectory, options.service.accountsFile, options.service.assetsDirectory,
                options.service.domain,
                options.hostProgram.empty() ? lumora::service::hostBesideProgram() : options.hostProgram},
               service) {
    server.emplace(
        lumora::service::StudioServer::Options{*options.studioPort, lumora::service::studioPageDirectory(),
                                               lumora::service::messagePageFile(),
                                               options.service.dataDirectory + "/studio-token"},
        studio);
  }

  const lumora::StoreLock lock;
  lumora::service::Studio studio;
  std::optional<lumora::service::StudioServer> server;
};

int run(Options options) {
  // Blocked before the first thread starts, so that all of them leave the signals to sigwait.
  sigset_t endSignals;
  sigemptyset(&endSignals);
  sigaddset(&endSignals, SIGTERM);
  sigaddset(&endSignals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &endSignals, nullptr);
  ::umask(077);

  lumora::service::RequestLog log(options.jsonLog);
  std::atomic<lumora::service::Studio*> studio = nullptr;
  lumora::service::ServiceOptions serviceOptions = options.service;
  serviceOptions.onRequest = [&](const lumora::service::RequestRecord& record) {
    log.write(record);
    if (auto* const watching = studio.load()) watching->tell(record);
  };
  // Ends after the service, which tells it of requests until then.
  std::optional<RunningStudio> running;
  lumora::service::Service service(std::move(serviceOptions));
  if (options.studioPort) {
    running.emplace(options, service);
    studio = &running->studio;
  }
  announce(service, running ? running->server->address() : "", options.readyFile);
  int signal = 0;
  sigwait(&endSignals, &signal);
  // Its answers need the service.
  if (running) running->server.reset();
  return 0;
}

/// Prints a link with the account's secret and a fresh registration token.
int printDeepLink(int count, char** arguments) {
  if (count != 5 || std::string_view(arguments[3]) != "--accounts") {
    std::cerr << "lumora-service: deep-link takes ACCOUNT --accounts FILE\n";
    return kExitUsage;
  }
  const std::string name = arguments[2];
  const auto account = lumora::service::Accounts(arguments[4]).find(name);
  if (!account) {
    std::cerr << "lumora-service: no account " << name << " in " << arguments[4] << '\n';
    return kExitFailure;
  }
  std::cout << lumora::service::deepLink(name, account->secret) << '\n';
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::string_view(argv[1]) == "--help") {
    std::cout << kUsage;
    return 0;
  }
  const bool isDeepLink = argc > 1 && std::string_view(argv[1]) == "deep-link";
  if (isDeepLink) return printDeepLink(argc, argv);
  auto options = parseOptions(argc, argv);
  if (!options) return kExitUsage;
  try {
    return run(std::move(*options));
  } catch (const std::exception& error) {
    std::cerr << "lumora-service: " << error.what() << '\n';
    return kExitFailure;
  }
}
