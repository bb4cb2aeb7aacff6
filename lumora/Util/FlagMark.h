#pragma once

#include <atomic>
#include <utility>

namespace lumora {

/// Sets a flag for the length of a scope, whatever way leads out of it, or until its early end: who sets the
/// flag after that keeps it.
class FlagMark {
 public:
  explicit FlagMark(std::atomic<bool>& flag) : flag_(flag) { flag_ = true; }
  ~FlagMark() { end(); }
  void end() noexcept {
    if (!std::exchange(hasEnded_, true)) flag_ = false;
  }
  FlagMark(const FlagMark&) = delete;
  FlagMark& operator=(const FlagMark&) = delete;

 private:
  std::atomic<bool>& flag_;
  bool hasEnded_ = false;
};

}  // namespace lumora
