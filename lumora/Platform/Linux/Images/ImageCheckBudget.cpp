// The time and the pixels that one check may take. The formats' sources ask it wherever few bytes can ask for
// much work; the size of a single picture is limited in ImageFormats.h.
#include "lumora/Platform/Linux/Images/ImageCheckBudget.h"

#include <ctime>

namespace lumora {
namespace {

std::chrono::nanoseconds threadTime() noexcept {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

}  // namespace

ImageCheckBudget::ImageCheckBudget() noexcept : end_(threadTime() + std::chrono::seconds(1)) {}

bool ImageCheckBudget::hasTime() const noexcept {
  return threadTime() < end_;
}

bool ImageCheckBudget::hasTimeAfter(std::size_t bytes) noexcept {
  constexpr std::size_t bytesBetweenLooks = 1024;
  bytes_ += bytes;
  if (bytes_ < bytesBetweenLooks) return true;
  bytes_ = 0;
  return hasTime();
}

bool ImageCheckBudget::takeFrame(std::uint64_t width, std::uint64_t height) noexcept {
  // Twice the largest picture: an animation may repaint all of it.
  constexpr std::uint64_t maximumPixels = std::uint64_t{128} * 1000 * 1000;
  pixels_ += width * height;
  return pixels_ <= maximumPixels;
}

}  // namespace lumora
