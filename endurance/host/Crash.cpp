// Whose doing a crash is: memory that runs out brings down some libraries by themselves.
#include "endurance/host/Crash.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstring>
#include <string_view>
#include <utility>

namespace endurance {
namespace {

/// Their functions crash by what they are given.
bool isOfSystem(std::string_view file) {
  for (const std::string_view name : {"/libc.so", "/libstdc++.so", "/libgcc_s.so", "/libm.so"}) {
    if (file.find(name) != std::string_view::npos) return true;
  }
  return false;
}

void print(std::string_view text) {
  static_cast<void>(!::write(STDOUT_FILENO, text.data(), text.size()));
}

void tell(int signal) {
  std::array<void*, 64> frames{};
  const int count = ::backtrace(frames.data(), static_cast<int>(frames.size()));
  Dl_info own{};
  ::dladdr(reinterpret_cast<void*>(&tell), &own);
  // The innermost frames are this handler's.
  bool hasLeftHandler = false;
  const void* innermost = nullptr;
  for (int frame = 0; frame < count; ++frame) {
    Dl_info info{};
    if (::dladdr(frames[static_cast<std::size_t>(frame)], &info) == 0 || !info.dli_fname) continue;
    const bool isSystem = isOfSystem(info.dli_fname);
    hasLeftHandler = hasLeftHandler || isSystem;
    if (!hasLeftHandler || isSystem) continue;
    if (info.dli_fbase == innermost) continue;
    print(innermost == nullptr ? "crashed in " : " called by ");
    print(info.dli_fbase == own.dli_fbase ? "the program" : info.dli_fname);
    if (std::exchange(innermost, info.dli_fbase) != nullptr) break;
  }
  print("\n");
  std::signal(signal, SIG_DFL);
  ::raise(signal);
}

}  // namespace

void tellWhoCrashes() {
  // The first one loads a library, for which there may be no memory later.
  std::array<void*, 1> frames{};
  ::backtrace(frames.data(), static_cast<int>(frames.size()));
  for (const int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL}) std::signal(signal, tell);
}

}  // namespace endurance
