#pragma once

#include <atomic>

namespace lumora {

/// Sets a flag for the length of a scope, whatever way leads out of it.
class FlagMark {
 public:
  explicit FlagMark(std::atomic<bool>& flag) : flag_(flag) { flag_ = true; }
  ~FlagMark() { flag_ = false; }
  FlagMark(const FlagMark&) = delete;
  FlagMark& operator=(const FlagMark&) = delete;

 private:
  std::atomic<bool>& flag_;
};

}  // namespace lumora
