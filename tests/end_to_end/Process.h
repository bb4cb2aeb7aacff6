#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lumora_end_to_end {

/// A child process whose standard input, output and error are pipes to the test.
///
/// Every wait ends once nothing has happened for a minute, with an exception that carries the error text.
class Process {
 public:
  /// Starts `command`; its first word is the program's path.
  explicit Process(const std::vector<std::string>& command) {
    ::signal(SIGPIPE, SIG_IGN);
    std::vector<char*> arguments;
    for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);

    int pipes[3][2];
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    for (int stream = 0; stream < 3; ++stream) {
      if (::pipe2(pipes[stream], O_CLOEXEC) != 0) throw std::runtime_error("no pipe can be made");
      ::posix_spawn_file_actions_adddup2(&actions, pipes[stream][stream == 0 ? 0 : 1], stream);
    }
    if (::posix_spawn(&child_, arguments[0], &actions, nullptr, arguments.data(), environ) != 0) child_ = -1;
    ::posix_spawn_file_actions_destroy(&actions);
    for (int stream = 0; stream < 3; ++stream) ::close(pipes[stream][stream == 0 ? 0 : 1]);
    input_ = pipes[0][1];
    output_.descriptor = pipes[1][0];
    error_.descriptor = pipes[2][0];
    for (const Stream* ours : {&output_, &error_}) ::fcntl(ours->descriptor, F_SETFL, O_NONBLOCK);
  }
  /// Kills the child when it still runs.
  ~Process() {
    closeInput();
    ::close(output_.descriptor);
    ::close(error_.descriptor);
    if (child_ < 0) return;
    ::kill(child_, SIGKILL);
    ::waitpid(child_, nullptr, 0);
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// Writes bytes to standard input, no more of them at once than the child reads without being read.
  void write(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t count = ::write(input_, bytes.data(), bytes.size());
      if (count < 0) throw std::runtime_error("input is closed: " + errorText());
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
  }
  void closeInput() {
    if (input_ >= 0) ::close(std::exchange(input_, -1));
  }
  /// The next line of standard output without its line feed; nothing at the end of the output.
  std::optional<std::string> readLine() {
    std::size_t end = 0;
    while ((end = output_.text.find('\n')) == std::string::npos) {
      if (output_.hasEnded) return std::nullopt;
      pollOnce();
    }
    const std::string line = output_.text.substr(0, end);
    output_.text.erase(0, end + 1);
    return line;
  }
  void sendSignal(int signal) const { ::kill(child_, signal); }
  /// Waits for the end and gives the exit status, or 128 and the signal's number for a killed child.
  int waitForEnd() {
    // The pipes end when the child does, so waiting for that is a wait with a deadline.
    while (!output_.hasEnded || !error_.hasEnded) pollOnce();
    int status = 0;
    ::waitpid(std::exchange(child_, -1), &status, 0);
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  }
  /// What has been written to standard error so far.
  const std::string& errorText() {
    error_.receive();
    return error_.text;
  }
  /// Waits until standard error holds the text.
  void waitForErrorText(std::string_view text) {
    while (error_.text.find(text) == std::string::npos) {
      if (error_.hasEnded) throw std::runtime_error("the process ended with: " + error_.text);
      pollOnce();
    }
  }

 private:
  /// What comes out of one pipe.
  struct Stream {
    /// Takes over what is there, without waiting.
    void receive() {
      std::array<char, 65536> chunk{};
      ssize_t count = 0;
      while ((count = ::read(descriptor, chunk.data(), chunk.size())) > 0) {
        text.append(chunk.data(), static_cast<std::size_t>(count));
      }
      hasEnded = count == 0;
    }
    pollfd waiting() const { return {hasEnded ? -1 : descriptor, POLLIN, 0}; }

    int descriptor = -1;
    std::string text;
    bool hasEnded = false;
  };

  /// Waits until something can be read, and takes it over.
  void pollOnce() {
    constexpr int patienceMilliseconds = 60'000;
    std::array<pollfd, 2> descriptors{output_.waiting(), error_.waiting()};
    if (::poll(descriptors.data(), descriptors.size(), patienceMilliseconds) == 0)
      throw std::runtime_error("nothing happens any more; standard error holds: " + errorText());
    if (descriptors[0].revents != 0) output_.receive();
    if (descriptors[1].revents != 0) error_.receive();
  }

  pid_t child_ = -1;
  int input_ = -1;
  Stream output_;
  Stream error_;
};

}  // namespace lumora_end_to_end
