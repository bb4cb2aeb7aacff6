#pragma once

#include <chrono>
#include <cstddef>
#include <functional>

namespace lumora {

/// The library's behaviour when the process ends by `exit` or by a return from `main`.
///
/// From then on no call of host code and no request begins, and the requests under way are aborted. The end
/// waits, one second at most in all, for the transfers to leave the libraries that they use, for the calls of
/// host code, which must not outlive the host's statics, and for the tasks that serial queues were given
/// before. After that no task begins. `_exit`, `abort` and signals know nothing of all this.
///
/// A library thread that calls `exit` itself does not wait for its own queue, for it is in one of the tasks
/// there. A second thread that ends the process meanwhile leaves that to the first.
///
/// Thread safety: every operation may be called from any thread.
class ProcessEnd {
 public:
  enum class Work { task, transfer, hostCall };

  /// Registers the exit handler. Exit handlers run in the reverse order of their registration, so whatever
  /// has registered its own before this call is still there while the library comes to rest. May be called
  /// again.
  static void watch();
  /// Whether the process is ending.
  static bool hasBegun() noexcept;
  /// Whether the wait is over too.
  static bool isOver() noexcept;
  /// Has transfers end before the process does, until it is called with false: those under way, and every new
  /// one. For all loaders together.
  static void setAborting(bool isAborting) noexcept;
  /// Whether transfers are to end: the process does, or they are aborted.
  static bool refusesTransfers() noexcept;
  /// Readable while that is so.
  static int descriptor();
  /// What is left of the second that the end may take; the whole of it before.
  static std::chrono::milliseconds patience() noexcept;
  /// Names who is told, once the wait is over, how many tasks it was not long enough for, or came too late
  /// for it. Any number of them.
  static void reportUnfinished(std::function<void(std::size_t tasks)> report);

  /// Work that the end waits for. A task counts from the moment it is handed over.
  static void begin(Work work) noexcept;
  static void finish(Work work, std::size_t count = 1) noexcept;
  /// This process has a thread that finishes its tasks, or is about to. To be called by whoever starts it:
  /// the process may end before the thread has run at all.
  static void expectThread() noexcept;
  /// The calling thread is one of the library's own. The function lives as long as it does, and gives how
  /// many tasks only this thread can finish, the one that it is in among them.
  static void markLibraryThread(const std::function<std::size_t()>* unfinishedTasks) noexcept;
  /// Whether a task that the calling thread hands over may still run: while the process ends, only what
  /// follows from the tasks before. Of those that may not the end's report has the number.
  static bool acceptsTask() noexcept;

  /// A transfer for the length of a scope.
  class Transfer {
   public:
    Transfer() noexcept { begin(Work::transfer); }
    ~Transfer() { finish(Work::transfer); }
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;
  };

  /// A call of host code for the length of a scope; true when it may begin. A thread that ends the process
  /// from within such a call does not wait for it.
  class HostCall {
   public:
    HostCall() noexcept;
    ~HostCall();
    HostCall(const HostCall&) = delete;
    HostCall& operator=(const HostCall&) = delete;
    explicit operator bool() const noexcept { return isAllowed_; }

   private:
    bool isAllowed_ = false;
  };
};

}  // namespace lumora
