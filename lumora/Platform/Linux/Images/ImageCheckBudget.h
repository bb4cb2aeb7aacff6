#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace lumora {

/// What is left to one check of the time and the pixels that it may take. The few bytes of a hostile image
/// ask for any amount of work in more ways than could each be counted, so time itself is what is limited; it
/// is the thread's own processor time, which does not depend on what else the machine does.
class ImageCheckBudget {
 public:
  ImageCheckBudget() noexcept;
  bool hasTime() const noexcept;
  /// The same, for who has taken so many bytes of the input: the clock is looked at now and then only.
  bool hasTimeAfter(std::size_t bytes) noexcept;
  /// Counts a frame of an animation; false when it is one pixel too much.
  bool takeFrame(std::uint64_t width, std::uint64_t height) noexcept;

 private:
  const std::chrono::nanoseconds end_;
  std::size_t bytes_ = 0;
  std::uint64_t pixels_ = 0;
};

}  // namespace lumora
