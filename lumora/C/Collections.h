#pragma once

#include <optional>
#include <string_view>

#include "lumora/C/Arguments.h"
#include "lumora/Platform/JSON.h"
#include "lumora/Platform/Value.h"

namespace lumora::c {

// What a C caller builds entry by entry.
template <>
inline constexpr Kind kindOf<Dictionary> = Kind::map;
template <>
inline constexpr Kind kindOf<List> = Kind::list;

/// A copy of what a map or a list holds now. Fails when there is none.
template <typename Contents>
Contents contentsOf(lumora_handle handle) {
  Contents copy;
  change<Contents>(handle, [&](const Contents& contents) { copy = contents; });
  return copy;
}

/// The entries of a map; nothing for no map.
std::optional<Dictionary> optionalMap(lumora_map map);
/// A JSON object's members. Fails when the text is none.
Dictionary mapFromJSON(std::string_view json);

/// Fails when a map or a list, itself counted, is nested deeper than so many levels.
void requireDepth(const Dictionary& map, int deepest);
void requireDepth(const List& list, int deepest);
/// How deep an action's details may be: their event is one level more.
inline constexpr int kDeepestDetails = kMaximumJSONDepth - 1;

}  // namespace lumora::c
