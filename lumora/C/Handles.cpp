// The table behind the handles. A handle's bits: 32 for the place's uses, 8 for the kind, 24 for the place.
#include "lumora/C/Handles.h"

#include <limits>
#include <new>
#include <utility>

namespace lumora::c {
namespace {

constexpr std::uint32_t kMaximumPlaces = 1U << 24U;

std::uint32_t placeIn(lumora_handle handle) {
  return static_cast<std::uint32_t>(handle) & (kMaximumPlaces - 1);
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

lumora_handle Handles::add(Kind kind, std::shared_ptr<void> object) {
  Lock lock(mutex_);
  if (free_.empty()) {
    if (places_.size() >= kMaximumPlaces) throw std::bad_alloc();
    // Room for every place that may become free: freeing never fails.
    free_.reserve(places_.size() + 1);
    places_.emplace_back();
    free_.push_back(static_cast<std::uint32_t>(places_.size() - 1));
  }
  const std::uint32_t index = free_.back();
  free_.pop_back();
  Place& place = places_[index];
  place.object = std::move(object);
  place.kind = kind;
  return static_cast<lumora_handle>(place.uses) << 32U | static_cast<lumora_handle>(kind) << 24U | index;
}

const Handles::Place* Handles::placeOf(lumora_handle handle) const {
  const std::uint32_t index = placeIn(handle);
  if (index >= places_.size()) return nullptr;
  const Place& place = places_[index];
  return place.object && place.uses == usesIn(handle) && place.kind == kindIn(handle) ? &place : nullptr;
}

std::shared_ptr<void> Handles::find(Kind kind, lumora_handle handle) const {
  if (kindIn(handle) != kind) return nullptr;
  Lock lock(mutex_);
  const Place* place = placeOf(handle);
  return place == nullptr ? nullptr : place->object;
}

bool Handles::remove(lumora_handle handle) {
  std::shared_ptr<void> object;  // Ends after the lock: its end may free others.
  Lock lock(mutex_);
  if (placeOf(handle) == nullptr) return false;
  Place& place = places_[placeIn(handle)];
  object = std::exchange(place.object, nullptr);
  // A place whose uses are counted up is given up, so that no number ever comes twice.
  if (place.uses < std::numeric_limits<std::uint32_t>::max()) {
    ++place.uses;
    free_.push_back(placeIn(handle));
  }
  return true;
}

}  // namespace lumora::c
