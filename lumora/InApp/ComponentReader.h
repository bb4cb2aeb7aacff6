#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "lumora/Platform/Value.h"

namespace lumora {

/// One text of a code table, and what it stands for.
struct CodeName {
  std::string_view text;
  std::int32_t code;
};

/// The code of a text; nothing when the table does not have it.
std::optional<std::int32_t> codeForText(std::span<const CodeName> table, std::string_view text);

/// Writes the line that drops a campaign, and gives false.
bool dropCampaign(const std::string& campaignId, std::string_view reason);

/// Reads the keys of one component of a campaign by a table, in the table's order, up to the first bad one.
///
/// A key is bad when it is required and missing, or when its value has the wrong type; the line that drops
/// the campaign then names it. Flags accept numbers, and whole numbers accept fractions and numeric texts.
class ComponentReader {
 public:
  enum class Presence { required, optional };

  struct Code {
    std::int32_t& code;
    std::span<const CodeName> table;
  };
  struct WholeNumber {
    Value& number;
  };
  struct Number {
    Value& number;
  };
  using Target = std::variant<std::optional<std::string>*, bool*, Number, WholeNumber, Code>;

  struct Field {
    std::string_view key;
    Presence presence;
    Target target;
  };

  /// Neither is copied; both must outlive the reader.
  ComponentReader(const Dictionary& data, const std::string& campaignId)
      : data_(data), campaignId_(campaignId) {}

  /// False after the first bad key.
  bool read(std::initializer_list<Field> fields) const;
  /// The "ios" entry of the "action" object, when both are there.
  bool readAction(std::optional<std::string>& action) const;
  /// Whether the key has a value; nothing is logged.
  bool has(std::string_view key) const { return findValue(data_, key) != nullptr; }
  /// Writes the line that drops the campaign, and gives false.
  bool drop(std::string_view reason) const;

 private:
  bool readField(const Field& field) const;

  const Dictionary& data_;
  const std::string& campaignId_;
};

}  // namespace lumora
