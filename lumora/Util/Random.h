#pragma once

#include <cstdint>
#include <string_view>

namespace lumora {

/// Numbers that look random and follow from their seed. Good for spreading moments, not for secrets.
class Random {
 public:
  explicit Random(std::uint64_t seed) noexcept : state_(seed) {}
  /// Different texts give different seeds.
  explicit Random(std::string_view seed) noexcept {
    for (const char character : seed)
      state_ = (state_ ^ static_cast<unsigned char>(character)) * 1099511628211u;
  }

  /// From `low` on, below `high`.
  double between(double low, double high) noexcept {
    constexpr double numbers = 9007199254740992.0;  // As many as a double tells apart below 1.
    return low + (high - low) * (static_cast<double>(next() >> 11) / numbers);
  }

 private:
  /// SplitMix64.
  std::uint64_t next() noexcept {
    std::uint64_t mixed = state_ += 0x9e3779b97f4a7c15u;
    mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9u;
    mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebu;
    return mixed ^ (mixed >> 31);
  }

  std::uint64_t state_ = 14695981039346656037u;
};

}  // namespace lumora
