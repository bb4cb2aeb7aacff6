#include "bench/Child.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace lumora_bench {
namespace {

using nlohmann::json;

/// The descriptor through which a child gives its result; standard output is left to the programs below it.
constexpr int kResultDescriptor = 3;

std::array<int, 2> makePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe can be made");
  return ends;
}

/// Runs after fork: only what is safe there.
[[noreturn]] void becomeRole(const char* program, const char* role, const char* arguments, int input,
                             int output) {
  ::dup2(input, STDIN_FILENO);
  if (output == kResultDescriptor) {
    ::fcntl(output, F_SETFD, 0);
  } else {
    ::dup2(output, kResultDescriptor);
  }
  ::execl(program, "lumora-bench", "--role", role, arguments, nullptr);
  ::_exit(127);
}

}  // namespace

Child::Child(const std::string& role, const json& arguments, const std::string& program) : role_(role) {
  const std::string text = arguments.dump();
  const auto input = makePipe();
  const auto output = makePipe();
  id_ = ::fork();
  if (id_ < 0) throw std::runtime_error("no process can be made");
  if (id_ == 0) becomeRole(program.c_str(), role_.c_str(), text.c_str(), input[0], output[1]);
  ::close(input[0]);
  ::close(output[1]);
  input_ = input[1];
  output_ = output[0];
}

Child::~Child() {
  end();
}

void Child::end() {
  if (id_ < 0) return;
  ::close(input_);
  ::close(output_);
  ::waitpid(std::exchange(id_, -1), nullptr, 0);
}

json Child::result() {
  std::string line;
  char c = 0;
  for (;;) {
    const ssize_t count = ::read(output_, &c, 1);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) throw std::runtime_error("the process for " + role_ + " ended without a result");
    if (c == '\n') break;
    line += c;
  }
  return json::parse(line);
}

json runInChild(const std::string& role, const json& arguments) {
  return Child(role, arguments).result();
}

void giveResult(const json& result) {
  const std::string line = result.dump() + "\n";
  std::size_t written = 0;
  while (written < line.size()) {
    const ssize_t count = ::write(kResultDescriptor, line.data() + written, line.size() - written);
    if (count < 0 && errno != EINTR) return;
    if (count > 0) written += static_cast<std::size_t>(count);
  }
}

void waitForParent() {
  std::array<char, 1> nothing{};
  ssize_t count = 0;
  do {
    count = ::read(STDIN_FILENO, nothing.data(), nothing.size());
  } while (count > 0 || (count < 0 && errno == EINTR));
}

}  // namespace lumora_bench
