#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
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
/// freed, or that is given for another kind, finds nothing. Any thread. The table ends with the process.
class Handles {
 public:
  static Handles& sharedInstance();

  template <typename Object>
  lumora_handle add(std::shared_ptr<Object> object) {
    return add(kindOf<Object>, std::move(object));
  }

  /// Null for a handle that finds nothing.
  template <typename Object>
  std::shared_ptr<Object> find(lumora_handle handle) const {
    return std::static_pointer_cast<Object>(find(kindOf<Object>, handle));
  }

  /// False when the handle finds nothing. The object ends when no other function uses it.
  bool remove(lumora_handle handle);

 private:
  struct Place {
    std::shared_ptr<void> object;
    std::uint32_t uses = 1;
    Kind kind = Kind::none;
  };

  lumora_handle add(Kind kind, std::shared_ptr<void> object);
  std::shared_ptr<void> find(Kind kind, lumora_handle handle) const;
  const Place* placeOf(lumora_handle handle) const LUMORA_REQUIRES(mutex_);

  mutable Mutex mutex_;
  std::vector<Place> places_ LUMORA_GUARDED_BY(mutex_);
  std::vector<std::uint32_t> free_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::c
