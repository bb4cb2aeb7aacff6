#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "lumora/C/lumora.h"
#include "lumora/Platform/Mutex.h"

namespace lumora::c {

enum class Kind : std::uint8_t { none, map, list, action, lead, signature, alert, completion, keeper };

/// Which class stands behind a kind of handle: `kindOf<LumoraLead>`.
template <typename Object>
inline constexpr Kind kindOf = Kind::none;

/// The objects that C callers own, by number.
///
/// A handle is a place, the kind of what lies there, and how often the place has been used: one that was
/// freed, or that is given for another kind, finds nothing. Any thread. A place is entered by its handle,
/// which finds it, checks it and locks it in one step; the objects need no locks besides. The table ends with
/// the process.
class Handles {
 public:
  static Handles& sharedInstance();

  template <typename Object>
  lumora_handle add(std::shared_ptr<Object> object) {
    return add(kindOf<Object>, std::move(object));
  }

  /// A share of the object, for what calls the host or keeps it; null for a handle that finds nothing.
  template <typename Object>
  std::shared_ptr<Object> find(lumora_handle handle) {
    std::shared_ptr<Object> found;
    use<Object>(handle, [&](const std::shared_ptr<void>& object) {
      found = std::static_pointer_cast<Object>(object);
    });
    return found;
  }

  /// Has the table's own share of the object used, which may be replaced. No other call is at the object
  /// meanwhile, so the use must be short, and must not use a handle. False for a handle that finds nothing.
  template <typename Object, typename Use>
  bool use(lumora_handle handle, const Use& use) {
    if (kindIn(handle) != kindOf<Object>) return false;
    const Visit place(placeOf(handle), handle);
    if (!place) return false;
    use(place->object);
    return true;
  }

  /// False when the handle finds nothing. The object ends when no other function uses it.
  bool remove(lumora_handle handle);

 private:
  /// What lies here belongs to whoever is in the place.
  struct Place {
    /// The handle that opens it; with `kBusy` while a call is in it, 0 while nothing lies here.
    std::atomic<lumora_handle> key = LUMORA_NONE;
    std::shared_ptr<void> object;
    /// Of the handle that the place has now, or will have next.
    std::uint32_t uses = 1;
  };

  /// Stays in a place for the length of a scope, if the handle opens that.
  class Visit {
   public:
    Visit(Place* place, lumora_handle handle) noexcept;
    ~Visit();
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;
    explicit operator bool() const noexcept { return place_ != nullptr; }
    Place* operator->() const noexcept { return place_; }
    /// No handle opens the place after the visit.
    void close() noexcept { key_ = LUMORA_NONE; }

   private:
    Place* place_ = nullptr;
    lumora_handle key_;
  };

  // A handle's bits: 32 for the place's uses, 8 for the kind, the highest of which no kind has, 24 for the
  // place.
  static constexpr lumora_handle kBusy = 1U << 31U;
  static constexpr std::uint32_t kPlaceBits = (1U << 24U) - 1;
  static Kind kindIn(lumora_handle handle) {
    return static_cast<Kind>(static_cast<std::uint8_t>(handle >> 24U));
  }

  // Blocks of 64, 128, 256, … places, which never move: places are found without a lock.
  static constexpr std::uint32_t kFirstBlock = 64;
  static constexpr std::size_t kBlocks = 18;
  static constexpr std::uint32_t kMaximumPlaces = kFirstBlock * ((1U << kBlocks) - 1);
  static_assert(kMaximumPlaces <= kPlaceBits);

  lumora_handle add(Kind kind, std::shared_ptr<void> object);
  std::uint32_t takeFreePlace();
  /// Null where there is no such place.
  Place* placeOf(lumora_handle handle) const;

  std::array<std::atomic<Place*>, kBlocks> blocks_{};
  Mutex mutex_;
  std::uint32_t places_ LUMORA_GUARDED_BY(mutex_) = 0;
  std::vector<std::uint32_t> free_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::c
