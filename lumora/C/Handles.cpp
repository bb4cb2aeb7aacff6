// The table behind the handles.
#include "lumora/C/Handles.h"

#include <bit>
#include <limits>
#include <new>
#include <thread>

#include "lumora/Platform/Linux/Host/LinuxClock.h"

namespace lumora::c {

Handles::Visit::Visit(Place* place, lumora_handle handle) noexcept : key_(handle) {
  if (place == nullptr) return;
  lumora_handle found = handle;
  for (int tries = 0; !place->key.compare_exchange_weak(found, handle | kBusy, std::memory_order_acquire);
       ++tries) {
    if (found != handle && found != (handle | kBusy)) return;
    // Two threads at one object are rare, and visits short: nobody pays for waking those who wait. They sleep
    // after a while, since a visitor of lower priority may need this very processor.
    if (tries < 100) {
      std::this_thread::yield();
    } else {
      LinuxClock().sleepFor(std::chrono::milliseconds(1));
    }
    found = handle;
  }
  place_ = place;
}

Handles::Visit::~Visit() {
  if (place_ != nullptr) place_->key.store(key_, std::memory_order_release);
}

Handles& Handles::sharedInstance() {
  static auto* const instance = new Handles;
  return *instance;
}

std::uint32_t Handles::takeFreePlace() {
  Lock lock(mutex_);
  if (free_.empty()) {
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
  Place& place = *placeOf(index);
  // No handle opens it yet.
  place.object = std::move(object);
  const lumora_handle handle =
      static_cast<lumora_handle>(place.uses) << 32U | static_cast<lumora_handle>(kind) << 24U | index;
  place.key.store(handle, std::memory_order_release);
  return handle;
}

// The blocks' first places are 0, 64, 192, 448, …
Handles::Place* Handles::placeOf(lumora_handle handle) const {
  const std::uint32_t index = (static_cast<std::uint32_t>(handle) & kPlaceBits) + kFirstBlock;
  const auto block = static_cast<std::size_t>(std::bit_width(index / kFirstBlock)) - 1;
  if (block >= kBlocks) return nullptr;
  Place* const places = blocks_[block].load(std::memory_order_acquire);
  return places == nullptr ? nullptr : places + (index - (kFirstBlock << block));
}

bool Handles::remove(lumora_handle handle) {
  if (handle == LUMORA_NONE || (handle & kBusy) != 0) return false;
  std::shared_ptr<void> object;  // Ends after the visit: its end may free others.
  {
    Visit place(placeOf(handle), handle);
    if (!place) return false;
    object.swap(place->object);
    place.close();
    // A place whose uses are counted up is given up, so that no number ever comes twice.
    if (place->uses == std::numeric_limits<std::uint32_t>::max()) return true;
    ++place->uses;
  }
  Lock lock(mutex_);
  free_.push_back(static_cast<std::uint32_t>(handle) & kPlaceBits);
  return true;
}

}  // namespace lumora::c
