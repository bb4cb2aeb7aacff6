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
/// freed, or that is given for another kind, finds nothing. Any thread. Each place has a lock of its own,
/// which is held while its object is read or changed: the object needs none. The table ends with the process.
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
    Place* const place = placeOf(kindOf<Object>, handle);
    if (place == nullptr) return false;
    Lock lock(place->mutex);
    if (!holds(*place, handle)) return false;
    use(place->object);
    return true;
  }

  /// False when the handle finds nothing. The object ends when no other function uses it.
  bool remove(lumora_handle handle);

 private:
  struct Place {
    Mutex mutex;
    std::shared_ptr<void> object LUMORA_GUARDED_BY(mutex);
    /// Of the handle that the place has now, or will have next.
    std::uint32_t uses LUMORA_GUARDED_BY(mutex) = 1;
    Kind kind LUMORA_GUARDED_BY(mutex) = Kind::none;
  };

  // Blocks of 64, 128, 256, … places, which never move: places are found without a lock.
  static constexpr std::uint32_t kFirstBlock = 64;
  static constexpr std::size_t kBlocks = 18;
  static constexpr std::uint32_t kMaximumPlaces = kFirstBlock * ((1U << kBlocks) - 1);

  lumora_handle add(Kind kind, std::shared_ptr<void> object);
  std::uint32_t takeFreePlace();
  /// Null where there is no such place, or the handle is of another kind.
  Place* placeOf(Kind kind, lumora_handle handle) const;
  Place* placeAt(std::uint32_t index) const;
  static bool holds(const Place& place, lumora_handle handle) LUMORA_REQUIRES(place.mutex);

  std::array<std::atomic<Place*>, kBlocks> blocks_{};
  Mutex mutex_;
  std::uint32_t places_ LUMORA_GUARDED_BY(mutex_) = 0;
  std::vector<std::uint32_t> free_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::c
