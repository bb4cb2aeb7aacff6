// The table behind the handles. A handle's bits: 32 for the place's uses, 8 for the kind, 24 for the place.
#include "lumora/C/Handles.h"

#include <bit>
#include <limits>
#include <new>
#include <utility>

namespace lumora::c {
namespace {

constexpr std::uint32_t kPlaceBits = (1U << 24U) - 1;

std::uint32_t placeIn(lumora_handle handle) {
  return static_cast<std::uint32_t>(handle) & kPlaceBits;
}

Kind kindIn(lumora_handle handle) {
  return static_cast<Kind>(static_cast<std::uint8_t>(handle >> 24U));
}

std::uint32_t usesIn(lumora_handle handle) {
  return static_cast<std::uint32_t>(handle >> 32U);
}

}  // namespace

Handles& Handles::sharedInstance() {
  static auto* const instance = new Handles;
  return *instance;
}

std::uint32_t Handles::takeFreePlace() {
  Lock lock(mutex_);
  if (free_.empty()) {
    static_assert(kMaximumPlaces <= kPlaceBits);
    if (places_ >= kMaximumPlaces) throw std::bad_alloc();
    const std::uint32_t size = places_ + kFirstBlock;
    // Room for every place that may become free: freeing never fails.
    free_.reserve(places_ + size);
    blocks_.at(static_cast<std::size_t>(std::countr_zero(size / kFirstBlock))) = new Place[size];
    places_ += size;
    for (std::uint32_t index = places_; index > places_ - size; --index) free_.push_back(index - 1);
  }
  const std::uint32_t index = free_.back();
  free_.pop_back();
  return index;
}

lumora_handle Handles::add(Kind kind, std::shared_ptr<void> object) {
  const std::uint32_t index = takeFreePlace();
  Place& place = *placeAt(index);
  Lock lock(place.mutex);
  place.object = std::move(object);
  place.kind = kind;
  return static_cast<lumora_handle>(place.uses) << 32U | static_cast<lumora_handle>(kind) << 24U | index;
}

// The blocks' first places are 0, 64, 192, 448, …
Handles::Place* Handles::placeAt(std::uint32_t index) const {
  const auto block = static_cast<std::size_t>(std::bit_width((index + kFirstBlock) / kFirstBlock)) - 1;
  if (block >= kBlocks) return nullptr;
  Place* const places = blocks_[block].load(std::memory_order_acquire);
  return places == nullptr ? nullptr : places + (index + kFirstBlock - (kFirstBlock << block));
}

Handles::Place* Handles::placeOf(Kind kind, lumora_handle handle) const {
  return kindIn(handle) == kind ? placeAt(placeIn(handle)) : nullptr;
}

bool Handles::holds(const Place& place, lumora_handle handle) {
  return place.object && place.uses == usesIn(handle) && place.kind == kindIn(handle);
}

bool Handles::remove(lumora_handle handle) {
  Place* const place = placeAt(placeIn(handle));
  if (place == nullptr) return false;
  std::shared_ptr<void> object;  // Ends after the locks: its end may free others.
  {
    Lock lock(place->mutex);
    if (!holds(*place, handle)) return false;
    object = std::exchange(place->object, nullptr);
    // A place whose uses are counted up is given up, so that no number ever comes twice.
    if (place->uses == std::numeric_limits<std::uint32_t>::max()) return true;
    ++place->uses;
  }
  Lock lock(mutex_);
  free_.push_back(placeIn(handle));
  return true;
}

}  // namespace lumora::c
