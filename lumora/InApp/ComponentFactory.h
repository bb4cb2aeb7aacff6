#pragma once

#include <memory>
#include <optional>
#include <string>

#include "lumora/InApp/ComponentReader.h"
#include "lumora/Util/LMRUtil.h"

namespace lumora {

/// "start" and "end" follow the reading direction.
inline constexpr CodeName alignmentCodes[] = {{"start", 100}, {"end", 101}, {"center", 104}};

/// How every component begins and ends: no object is no component, an unknown campaign drops it, and an
/// object that was read is kept.
class ComponentFactory {
 public:
  template <typename Component>
  static std::shared_ptr<Component> make(const Dictionary* data,
                                         const std::optional<std::string>& campaingId) {
    if (!isComponent(data, campaingId)) return nullptr;
    auto component = std::make_shared<Component>();
    if (!component->readData(*data, *campaingId)) return nullptr;
    component->campaingId_ = *campaingId;
    component->bgData_ = *data;
    return component;
  }

 private:
  static bool isComponent(const Dictionary* data, const std::optional<std::string>& campaingId) {
    if (data && !campaingId) LMRUtil::hasValue("campaingId", Dictionary(), "(null)");
    return data && campaingId;
  }
};

}  // namespace lumora
