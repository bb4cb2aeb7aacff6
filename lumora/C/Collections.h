#pragma once

#include "lumora/C/Arguments.h"
#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/Value.h"

namespace lumora::c {

/// A map or a list that a C caller builds; any thread.
template <typename Contents>
class Collection {
 public:
  Collection() = default;
  explicit Collection(Contents contents) : contents_(std::move(contents)) {}

  Contents contents() const {
    Lock lock(mutex_);
    return contents_;
  }

  template <typename Change>
  void change(Change&& change) {
    Lock lock(mutex_);
    change(contents_);
  }

 private:
  mutable Mutex mutex_;
  Contents contents_ LUMORA_GUARDED_BY(mutex_);
};

using Map = Collection<Dictionary>;
using ValueList = Collection<List>;

template <>
inline constexpr Kind kindOf<Map> = Kind::map;
template <>
inline constexpr Kind kindOf<ValueList> = Kind::list;

/// The entries of a map; nothing for no map.
std::optional<Dictionary> optionalMap(lumora_map map);
/// A JSON object's members. Fails when the text is none.
Dictionary mapFromJSON(std::string_view json);

}  // namespace lumora::c
