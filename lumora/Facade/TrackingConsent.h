#pragma once

#include <cstdint>

namespace lumora {

/// What the person said to tracking.
enum class Consent : std::uint8_t {
  unknown,  ///< Nothing yet: the library works.
  granted,
  denied,  ///< The library records, sends and shows nothing.
};

/// What becomes, when consent is denied, of the events that wait for their upload.
enum class WaitingEvents : std::uint8_t {
  areKept,    ///< They are uploaded once consent is given.
  areErased,  ///< They are overwritten and deleted.
};

}  // namespace lumora
