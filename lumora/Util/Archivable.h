#pragma once

#include "lumora/Platform/Export.h"
#include "lumora/Platform/Value.h"

namespace lumora {

/// The fields of an object in their archived form, by name.
using Coder = Dictionary;

/// An object that can be kept in the settings store as an archive.
class LUMORA_EXPORT Archivable {
 public:
  virtual ~Archivable() = default;
  /// Writes the object's fields; they must be of JSON kinds. Texts may hold any bytes.
  virtual void encodeWithCoder(Coder& coder) const = 0;
};

}  // namespace lumora
