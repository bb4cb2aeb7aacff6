// Starts a program with pipes, and reads what it says. What its lines mean is for Phone.cpp to say.
#include "service/HostProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace lumora::service {
namespace {

/// A longer line is cut: nobody reads one to its end.
constexpr std::size_t kLongestLine = 16U * 1024 * 1024;

struct Pipe {
  Pipe() {
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
      throw std::runtime_error(std::string("A pipe cannot be made: ") + std::strerror(errno) + '.');
  }
  ~Pipe() {
    for (const int end : ends) {
      if (end >= 0) ::close(end);
    }
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int take(std::size_t end) {
    const int result = ends.at(end);
    ends.at(end) = -1;
    return result;
  }

  std::array<int, 2> ends{-1, -1};
};

/// How the program begins: our three pipes and nothing else of ours, and no signal held back.
class SpawnSettings {
 public:
  SpawnSettings(int input, int output, int log) {
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, log, STDERR_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  posix_spawn_file_actions_t files = {};
  posix_spawnattr_t attributes = {};
};

/// One of the program's outputs.
struct Stream {
  int descriptor;
  const std::function<void(std::string)>& onLine;
  std::string pending = {};

  /// Returns false at its end.
  bool receive() {
    std::array<char, 65536> bytes;
    const ssize_t count = ::read(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) return true;
    if (count <= 0) {
      if (!pending.empty()) onLine(std::move(pending));
      return false;
    }
    std::string_view rest(bytes.data(), static_cast<std::size_t>(count));
    for (auto end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
      pending += rest.substr(0, end);
      onLine(std::exchange(pending, {}));
      rest.remove_prefix(end + 1);
    }
    if (pending.size() < kLongestLine) pending += rest;
    return true;
  }
};

}  // namespace

HostProcess::HostProcess(const std::vector<std::string>& words, Listener listener)
    : listener_(std::move(listener)) {
  Pipe input;
  Pipe output;
  Pipe log;
  const SpawnSettings settings(input.ends[0], output.ends[1], log.ends[1]);
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  // The interface takes no constants, and changes nothing.
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  const int failure = posix_spawn(&process_, words.front().c_str(), &settings.files, &settings.attributes,
                                  arguments.data(), environ);
  if (failure != 0)
    throw std::runtime_error("The program " + words.front() +
                             " cannot be started: " + std::strerror(failure) + '.');
  {
    const Lock lock(inputMutex_);
    input_ = input.take(1);
  }
  reader_ = std::thread([this, out = output.take(0), errors = log.take(0)] { read(out, errors); });
}

HostProcess::~HostProcess() {
  kill();
  if (reader_.joinable()) reader_.join();
  closeInput();
}

bool HostProcess::write(std::string_view line) {
  const std::string bytes = std::string(line) + '\n';
  const Lock lock(inputMutex_);
  for (std::size_t written = 0; written < bytes.size() && input_ >= 0;) {
    const ssize_t count = ::write(input_, bytes.data() + written, bytes.size() - written);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    written += static_cast<std::size_t>(count);
  }
  return input_ >= 0;
}

void HostProcess::closeInput() {
  const Lock lock(inputMutex_);
  if (input_ >= 0) ::close(input_);
  input_ = -1;
}

void HostProcess::kill() {
  // The reader takes its end as the last thing, so until then nobody else has its number.
  if (!hasEnded_) ::kill(process_, SIGKILL);
}

void HostProcess::read(int output, int log) {
  std::array<Stream, 2> streams{Stream{output, listener_.onOutput}, Stream{log, listener_.onLog}};
  std::array<pollfd, 2> waiting{pollfd{output, POLLIN, 0}, pollfd{log, POLLIN, 0}};
  while (waiting[0].fd >= 0 || waiting[1].fd >= 0) {
    if (::poll(waiting.data(), waiting.size(), -1) < 0) continue;
    for (std::size_t i = 0; i < streams.size(); ++i) {
      if (waiting.at(i).fd >= 0 && waiting.at(i).revents != 0 && !streams.at(i).receive())
        waiting.at(i).fd = -1;
    }
  }
  ::close(output);
  ::close(log);
  siginfo_t end = {};
  while (::waitid(P_PID, static_cast<id_t>(process_), &end, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
  }
  hasEnded_ = true;
  ::waitpid(process_, nullptr, 0);
  const bool isExit = end.si_code == CLD_EXITED;
  listener_.onEnd(isExit ? end.si_status : 0, isExit ? 0 : end.si_status);
  end_.set_value();
}

}  // namespace lumora::service
