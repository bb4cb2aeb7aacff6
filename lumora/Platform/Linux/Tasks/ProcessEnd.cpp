// The end of the process: the work that it waits for is counted here, and its two moments, the begin and the
// end of the wait, are told to whoever asks. Queues, the URL loader, the log and the application heed them by
// themselves.
#include "lumora/Platform/Linux/Tasks/ProcessEnd.h"

#include <dlfcn.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <exception>
#include <thread>
#include <utility>
#include <vector>

#include "lumora/Platform/ForkedChild.h"
#include "lumora/Platform/Linux/Files/FileDescriptor.h"
#include "lumora/Platform/Mutex.h"

namespace lumora {
namespace {

/// For the last calls to be stored; nobody takes the program for hung within it.
constexpr std::chrono::seconds kPatience(1);
using SteadyClock = std::chrono::steady_clock;

/// Of a library thread: how many tasks only it can finish, the one that it is in among them.
thread_local const std::function<std::size_t()>* ownTasks = nullptr;
thread_local std::size_t ownHostCalls = 0;
thread_local bool isEndingProcess = false;

struct State {
  std::atomic<bool> hasBegun = false;
  std::atomic<bool> isOver = false;
  std::atomic<bool> isAborting = false;
  /// Noted right after the end has begun: until then nobody's patience is left.
  std::atomic<SteadyClock::time_point> beginning{SteadyClock::time_point()};
  std::atomic<std::size_t> tasks = 0;
  /// Those that came when the end had begun.
  std::atomic<std::size_t> lateTasks = 0;
  /// Transfers and calls of host code: threads in what is not the library's.
  std::atomic<std::size_t> outside = 0;
  /// The process that the work is done in. A forked child has none of the threads that it would wait for.
  std::atomic<pid_t> worker = 0;
  const FileDescriptor event{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
  Mutex mutex;
  /// A count fell after the end had begun.
  std::condition_variable_any progress;
  std::vector<std::function<void(std::size_t tasks)>> reports LUMORA_GUARDED_BY(mutex);

  std::atomic<std::size_t>& counter(ProcessEnd::Work work) {
    return work == ProcessEnd::Work::task ? tasks : outside;
  }

  void waitForRest() {
    const auto limit = beginning.load() + kPatience;
    Lock lock(mutex);
    while (outside > ownHostCalls || doOthersHaveTasks()) {
      if (progress.wait_until(mutex, limit) == std::cv_status::timeout) return;
    }
  }

  bool doOthersHaveTasks() const {
    // Asked for first: a task that comes in between is then waited for rather than missed.
    const std::size_t own = ownTasks ? (*ownTasks)() : 0;
    return tasks > own;
  }

  /// For a second thread that ends the process: it would cut the first one's wait short, and then run the
  /// earlier handlers beside it, which the C library does not expect. Not for ever, since the first may be
  /// waiting for this thread; but longer than any handler of a busy machine takes.
  void leaveEndToFirst() const {
    if (!isEndingProcess && worker == ::getpid()) std::this_thread::sleep_for(10 * kPatience);
  }

  void reportUnfinished() {
    const std::size_t own = ownTasks ? 1 : 0;  // The task that ends the process.
    const std::size_t unfinished = tasks;
    const std::size_t undone = (unfinished > own ? unfinished - own : 0) + lateTasks;
    Lock lock(mutex);
    for (const auto& report : reports) report(undone);
  }
};

/// Never destroyed: threads go on while the process ends.
State& shared() {
  static auto* const state = new State;
  return *state;
}

void endProcess() {
  State& state = shared();
  // The first call does it all.
  if (state.hasBegun.exchange(true)) return state.leaveEndToFirst();
  state.beginning = SteadyClock::now();
  isEndingProcess = true;
  if (state.worker == ::getpid()) {
    ::eventfd_write(state.event.get(), 1);
    state.waitForRest();
  }
  state.isOver = true;
  if (state.worker != ::getpid()) return;
  try {
    state.reportUnfinished();
  } catch (const std::exception&) {
    // Memory ran out.
  }
}

/// A plugin that this library is linked into may be closed; the library's threads live in its code for good.
void keepLoaded() {
  Dl_info self{};
  if (::dladdr(reinterpret_cast<const void*>(&endProcess), &self) == 0) return;
  // The handle is never closed. A program itself cannot be opened, and need not be.
  static_cast<void>(::dlopen(self.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE));
}

}  // namespace

void ProcessEnd::watch() {
  shared();
  keepLoaded();
  // Without a handler the process still ends, only less gently. Twice: each is called once, and a second
  // thread that ends the process, as when `main` returns meanwhile, is to find one too.
  for (int handler = 0; handler < 2; ++handler) static_cast<void>(std::atexit(endProcess));
}

bool ProcessEnd::hasBegun() noexcept {
  return shared().hasBegun;
}

void ProcessEnd::setAborting(bool isAborting) noexcept {
  State& state = shared();
  Lock lock(state.mutex);
  if (state.isAborting.exchange(isAborting) == isAborting) return;
  eventfd_t count = 0;
  if (isAborting) {
    ::eventfd_write(state.event.get(), 1);
  } else if (!state.hasBegun) {
    ::eventfd_read(state.event.get(), &count);
  }
}

bool ProcessEnd::refusesTransfers() noexcept {
  const State& state = shared();
  return state.hasBegun || state.isAborting;
}

bool ProcessEnd::isOver() noexcept {
  return shared().isOver;
}

int ProcessEnd::descriptor() {
  return shared().event.get();
}

void ProcessEnd::begin(Work work) noexcept {
  State& state = shared();
  if (work == Work::transfer) expectThread();
  ++state.counter(work);
}

void ProcessEnd::finish(Work work, std::size_t count) noexcept {
  State& state = shared();
  state.counter(work) -= count;
  if (!state.hasBegun) return;
  // Under the lock, so that the notice cannot fall between the other side's look and its sleep.
  Lock lock(state.mutex);
  state.progress.notify_all();
}

void ProcessEnd::reportUnfinished(std::function<void(std::size_t tasks)> report) {
  State& state = shared();
  Lock lock(state.mutex);
  state.reports.push_back(std::move(report));
}

std::chrono::milliseconds ProcessEnd::patience() noexcept {
  const State& state = shared();
  if (!state.hasBegun) return kPatience;
  const auto left = state.beginning.load() + kPatience - SteadyClock::now();
  return std::clamp(std::chrono::duration_cast<std::chrono::milliseconds>(left), {}, {kPatience});
}

bool ProcessEnd::acceptsTask() noexcept {
  if (!hasBegun() || (ownTasks && !isOver())) return true;
  ++shared().lateTasks;
  return false;
}

ProcessEnd::HostCall::HostCall() noexcept {
  if (hasBegun()) return;
  begin(Work::hostCall);
  // Asked for again: an end that begins from here on sees the call.
  isAllowed_ = !hasBegun();
  if (isAllowed_) {
    ++ownHostCalls;
  } else {
    finish(Work::hostCall);
  }
}

ProcessEnd::HostCall::~HostCall() {
  if (!isAllowed_) return;
  --ownHostCalls;
  finish(Work::hostCall);
}

void ProcessEnd::expectThread() noexcept {
  shared().worker = ::getpid();
}

void ProcessEnd::markLibraryThread(const std::function<std::size_t()>* unfinishedTasks) noexcept {
  ownTasks = unfinishedTasks;
}

}  // namespace lumora
