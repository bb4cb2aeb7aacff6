#include "tests/end_to_end/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace lumora_end_to_end {
namespace {

constexpr int kPatienceMilliseconds = 60'000;

std::array<int, 2> makePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe can be made");
  return ends;
}

}  // namespace

Process::Process(const std::vector<std::string>& command) {
  ::signal(SIGPIPE, SIG_IGN);
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);

  const auto input = makePipe();
  const auto output = makePipe();
  const auto error = makePipe();
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, error[1], STDERR_FILENO);
  if (::posix_spawn(&child_, arguments[0], &actions, nullptr, arguments.data(), environ) != 0) child_ = -1;
  ::posix_spawn_file_actions_destroy(&actions);
  for (const int childs : {input[0], output[1], error[1]}) ::close(childs);
  for (const int ours : {output[0], error[0]}) ::fcntl(ours, F_SETFL, O_NONBLOCK);
  input_ = input[1];
  output_.descriptor = output[0];
  error_.descriptor = error[0];
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
    const ssize_t count = ::write(input_, bytes.data(), bytes.size());
    if (count < 0) throw std::runtime_error("input is closed: " + errorText());
    bytes.remove_prefix(static_cast<std::size_t>(count));
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
    pollOnce();
  }
}

int Process::waitForEnd() {
  // The pipes end when the child does, so waiting for that is a wait with a deadline.
  while (!output_.hasEnded || !error_.hasEnded) pollOnce();
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
    pollOnce();
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

void Process::pollOnce() {
  std::array<pollfd, 2> descriptors{pollfd{output_.hasEnded ? -1 : output_.descriptor, POLLIN, 0},
                                    pollfd{error_.hasEnded ? -1 : error_.descriptor, POLLIN, 0}};
  if (::poll(descriptors.data(), descriptors.size(), kPatienceMilliseconds) == 0)
    throw std::runtime_error("nothing happens any more; standard error holds: " + errorText());
  if (descriptors[0].revents != 0) output_.receive();
  if (descriptors[1].revents != 0) error_.receive();
}

}  // namespace lumora_end_to_end
