#pragma once

#include <cstdint>
#include <initializer_list>

#include "lumora/Platform/Mutex.h"

namespace lumora {

/// Why calls are ignored.
enum class Closed : std::uint8_t {
  inForkedChild = 1,   ///< For good.
  afterShutdown = 2,   ///< For good.
  afterErasure = 4,    ///< Until the next start.
  withoutConsent = 8,  ///< Until consent is given.
  atProcessEnd = 16,   ///< For good.
};

/// Decides whether calls are carried out; the one place where a fork, a shutdown, an erasure, a denied
/// consent and the end of the process make the library do nothing.
///
/// A reason takes effect in two steps. When it *closes* the gate, calls, requests and screens are refused.
/// When it *settles*, nothing is recorded any more either: what was handed over before has been done by then.
/// An erasure takes both steps at once.
///
/// Every operation may be called from any thread; none but `Pass` and `waitForCalls` takes a lock. Asking
/// costs two relaxed reads.
class CallGate {
 public:
  /// Whether calls, requests and screens are allowed.
  static bool isOpen() noexcept;
  /// Whether work that was handed over earlier may still be done, and recorded.
  static bool isWorking() noexcept;
  static bool isClosed(Closed reason) noexcept;

  /// Asked first by every operation that a host calls: as `isOpen`, but the first call that a reason turns
  /// away writes a line.
  static bool admits() { return admitsDespite({}); }
  /// The same for an operation that some reasons do not concern.
  static bool admitsDespite(std::initializer_list<Closed> exceptions);

  static void close(Closed reason) noexcept;
  static void settle(Closed reason) noexcept;
  static void open(Closed reason) noexcept;

  /// A call that works on its caller's thread, for the length of a scope; true when it is admitted.
  class Pass {
   public:
    enum class Line { isWritten, isNotWritten };
    explicit Pass(Line line = Line::isWritten);
    ~Pass();
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;
    explicit operator bool() const noexcept { return isAdmitted_; }

   private:
    const bool isAdmitted_;
  };
  /// Waits, some seconds at most, until no `Pass` is left of those that were admitted before the gate closed;
  /// false when there is one still.
  static bool waitForCalls();

  /// A task on one of the library's own queues, for the length of a scope; true when it may be done.
  class Work {
   public:
    Work() noexcept;
    ~Work();
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
    explicit operator bool() const noexcept { return isWorking(); }
    /// Whether the calling thread is in such a task.
    static bool isUnderWay() noexcept;
  };
};

}  // namespace lumora
