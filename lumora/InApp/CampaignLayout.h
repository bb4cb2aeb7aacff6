#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lumora/Platform/Value.h"

namespace lumora {

/// A layout: its code, and the components that it is built from, all of which it needs.
struct LayoutType {
  std::string_view name;
  std::int32_t code;
  /// In the order in which they are built; the rest is empty.
  std::array<std::string_view, 5> components;
};

/// The layout of that name; null when there is none.
const LayoutType* layoutTypeNamed(std::string_view name);

/// A picture that a layout names.
struct CampaignPicture {
  /// How the line that drops the campaign names it.
  std::string_view reason;
  /// Nothing where the layout gives no address.
  std::optional<std::string> uri;
  /// Whether the campaign cannot be shown without it.
  bool isNeeded;
};

/// The pictures of a layout in the order in which they are fetched, those included of parts that its type is
/// not built from.
std::vector<CampaignPicture> picturesOf(const Dictionary& layout);

}  // namespace lumora
