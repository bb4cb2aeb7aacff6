#include "tests/end_to_end/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace lumora_end_to_end {
namespace {

constexpr int kPatienceMilliseconds = 60'000;

struct Pipe {
  Pipe() {
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe can be made");
  }
  int ends[2];
  int& reading = ends[0];
  int& writing = ends[1];
};

/// Runs in the child: only operations that are safe after fork.
[[noreturn]] void becomeProgram(char* const* arguments, int input, int output, int error) {
  ::dup2(input, STDIN_FILENO);
  ::dup2(output, STDOUT_FILENO);
  ::dup2(error, STDERR_FILENO);
  ::execv(arguments[0], arguments);
  ::_exit(127);
}

}  // namespace

Process::Process(const std::vector<std::string>& command) {
  ::signal(SIGPIPE, SIG_IGN);
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);

  const Pipe input;
  const Pipe output;
  const Pipe error;
  child_ = ::fork();
  if (child_ == 0) becomeProgram(arguments.data(), input.reading, output.writing, error.writing);
  for (const int childs : {input.reading, output.writing, error.writing}) ::close(childs);
  for (const int ours : {input.writing, output.reading, error.reading}) ::fcntl(ours, F_SETFL, O_NONBLOCK);
  input_ = input.writing;
  output_.descriptor = output.reading;
  error_.descriptor = error.reading;
}

Process::~Process() {
  closeInput();
  ::close(output_.descriptor);
  ::close(error_.descriptor);
  if (child_ < 0) return;
  ::kill(child_, SIGKILL);
  ::waitpid(child_, nullptr, 0);
}

void Process::write(std::string_view bytes) {
  while (!bytes.empty()) {
    if (!pollOnce(true)) continue;
    const ssize_t count = ::write(input_, bytes.data(), bytes.size());
    if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
    if (count < 0 && errno != EAGAIN) throw std::runtime_error("input is closed: " + errorText());
  }
}

void Process::closeInput() {
  if (input_ >= 0) ::close(std::exchange(input_, -1));
}

std::optional<std::string> Process::readLine() {
  for (;;) {
    if (const std::size_t end = output_.text.find('\n'); end != std::string::npos) {
      std::string line = output_.text.substr(0, end);
      output_.text.erase(0, end + 1);
      return line;
    }
    if (output_.hasEnded) return std::nullopt;
    pollOnce(false);
  }
}

int Process::waitForEnd() {
  // The pipes end when the child does, so waiting for that is a wait with a deadline.
  while (!output_.hasEnded || !error_.hasEnded) pollOnce(false);
  int status = 0;
  ::waitpid(std::exchange(child_, -1), &status, 0);
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

const std::string& Process::errorText() {
  error_.receive();
  return error_.text;
}

void Process::waitForErrorText(std::string_view text) {
  while (error_.text.find(text) == std::string::npos) {
    if (error_.hasEnded) throw std::runtime_error("the process ended with: " + error_.text);
    pollOnce(false);
  }
}

void Process::Stream::receive() {
  std::array<char, 65536> chunk{};
  ssize_t count = 0;
  while ((count = ::read(descriptor, chunk.data(), chunk.size())) > 0) {
    text.append(chunk.data(), static_cast<std::size_t>(count));
  }
  hasEnded = count == 0;
}

bool Process::pollOnce(bool wantsToWrite) {
  std::array<pollfd, 3> descriptors{pollfd{output_.hasEnded ? -1 : output_.descriptor, POLLIN, 0},
                                    pollfd{error_.hasEnded ? -1 : error_.descriptor, POLLIN, 0},
                                    pollfd{wantsToWrite ? input_ : -1, POLLOUT, 0}};
  const int ready = ::poll(descriptors.data(), descriptors.size(), kPatienceMilliseconds);
  if (ready == 0) throw std::runtime_error("nothing happens any more; standard error holds: " + errorText());
  if (descriptors[0].revents != 0) output_.receive();
  if (descriptors[1].revents != 0) error_.receive();
  return descriptors[2].revents != 0;
}

}  // namespace lumora_end_to_end
