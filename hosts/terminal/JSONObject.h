#pragma once

#include <string>
#include <string_view>

#include "lumora/Platform/Value.h"

namespace lumora_host {

/// A JSON object that is written with its members in the order in which they were added.
class JSONObject {
 public:
  /// What JSON cannot hold is written as null; dates and bytes are written as in `settingFromJSON`.
  JSONObject& add(std::string_view key, const lumora::Value& value);
  JSONObject& add(std::string_view key, const JSONObject& nested);

  std::string text() const { return "{" + members_ + "}"; }

 private:
  void addMember(std::string_view key, std::string_view json);

  std::string members_;
};

}  // namespace lumora_host
