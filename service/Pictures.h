#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "service/AccountsFile.h"

namespace lumora::service {

/// What kind of picture the bytes begin like, as "image/png"; empty when it is none that messages can show.
std::string_view pictureType(std::string_view bytes);

/// The file's bytes; nothing when it cannot be read or has more than the library takes.
std::optional<std::string> pictureBytes(const std::string& file);

/// A message's description with its pictures as data URLs. Files outside of the folder are left out.
JSON withPictures(JSON description, const std::string& folder);

}  // namespace lumora::service
