// The reasons that close the gate, their lines, and the calls under way. Nothing here needs to be made before
// it is used: a forked child may ask at any moment.
#include "lumora/Util/CallGate.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <string_view>
#include <utility>

#include "lumora/Platform/ForkedChild.h"
#include "lumora/Util/Log.h"

namespace lumora {
namespace {

constexpr std::chrono::seconds longestWaitForCalls{15};

constexpr unsigned bitOf(Closed reason) {
  return static_cast<unsigned>(reason);
}

constinit std::atomic<unsigned> closed = 0;
constinit std::atomic<unsigned> settled = 0;
/// The reasons whose line was written.
constinit std::atomic<unsigned> told = 0;
constinit std::atomic<int> passes = 0;
thread_local int workDepth = 0;

struct Rest {
  Mutex mutex;
  std::condition_variable_any came;
};

Rest& rest() {
  static auto* const instance = new Rest;
  return *instance;
}

constexpr std::pair<Closed, std::string_view> lines[] = {
    {Closed::inForkedChild,
     "LumoraSDK-This process was forked from one that uses Lumora, its calls are ignored."},
    {Closed::afterShutdown, "LumoraSDK-Lumora was shut down, calls are ignored."},
    {Closed::afterErasure, "LumoraSDK-All data was erased, calls are ignored until the next start."},
    {Closed::withoutConsent, "LumoraSDK-Tracking consent is denied, calls are ignored."},
    {Closed::atProcessEnd, "LumoraSDK-The process is ending, calls are ignored."}};

/// Tells the weightiest of the reasons, each once.
void tell(unsigned reasons) {
  for (const auto& [reason, line] : lines) {
    if ((reasons & bitOf(reason)) == 0) continue;
    if ((told.fetch_or(bitOf(reason)) & bitOf(reason)) != 0) return;
    if (reason == Closed::inForkedChild) {
      writeInForkedChild(line);
    } else {
      logLine("{}", line);
    }
    return;
  }
}

}  // namespace

bool CallGate::isOpen() noexcept {
  return !isForkedChild() && closed.load(std::memory_order_relaxed) == 0;
}

bool CallGate::isWorking() noexcept {
  return !isForkedChild() && settled.load(std::memory_order_relaxed) == 0;
}

bool CallGate::isClosed(Closed reason) noexcept {
  if (reason == Closed::inForkedChild) return isForkedChild();
  return (closed & bitOf(reason)) != 0;
}

bool CallGate::admitsDespite(std::initializer_list<Closed> exceptions) {
  if (isForkedChild()) {
    tell(bitOf(Closed::inForkedChild));
    return false;
  }
  unsigned reasons = closed.load(std::memory_order_relaxed);
  if (reasons == 0) return true;
  for (const Closed exception : exceptions) reasons &= ~bitOf(exception);
  if (reasons != 0) tell(reasons);
  return reasons == 0;
}

void CallGate::close(Closed reason) noexcept {
  closed |= bitOf(reason);
}

void CallGate::settle(Closed reason) noexcept {
  closed |= bitOf(reason);
  settled |= bitOf(reason);
}

void CallGate::open(Closed reason) noexcept {
  settled &= ~bitOf(reason);
  closed &= ~bitOf(reason);
  told &= ~bitOf(reason);
}

namespace {

/// Counted ahead of the look at the gate: whoever closes it afterwards sees the call.
bool admitCounted(CallGate::Pass::Line line) {
  if (!isForkedChild()) {
    ++passes;
    if (closed == 0) return true;
    if (--passes == 0) {
      Lock lock(rest().mutex);
      rest().came.notify_all();
    }
  }
  if (line == CallGate::Pass::Line::isWritten) CallGate::admits();
  return false;
}

}  // namespace

CallGate::Pass::Pass(Line line) : isAdmitted_(admitCounted(line)) {}

CallGate::Pass::~Pass() {
  if (!isAdmitted_ || isForkedChild() || --passes > 0 || closed == 0) return;
  Lock lock(rest().mutex);
  rest().came.notify_all();
}

bool CallGate::waitForCalls() {
  Rest& atRest = rest();
  Lock lock(atRest.mutex);
  while (passes > 0) {
    if (atRest.came.wait_for(atRest.mutex, longestWaitForCalls) == std::cv_status::timeout)
      return passes == 0;
  }
  return true;
}

CallGate::Work::Work() noexcept {
  ++workDepth;
}

CallGate::Work::~Work() {
  --workDepth;
}

bool CallGate::Work::isUnderWay() noexcept {
  return workDepth > 0;
}

}  // namespace lumora
