// Maps and lists, entry by entry or of a JSON text.
#include "lumora/C/Collections.h"

#include "lumora/Platform/JSON.h"

namespace lumora::c {

std::optional<Dictionary> optionalMap(lumora_map map) {
  const auto found = optionalObject<Map>(map);
  if (!found) return std::nullopt;
  return found->contents();
}

Dictionary mapFromJSON(std::string_view json) {
  const auto value = parseJSON(json);
  const Dictionary* members = value ? value->asDictionary() : nullptr;
  if (members == nullptr) throw Failure{LUMORA_BAD_JSON};
  return *members;
}

namespace {

/// `make` runs before anything is changed: what it refuses leaves the map as it was.
template <typename Make>
lumora_result set(lumora_map map, lumora_text key, Make&& make) {
  return guarded([&] {
    const auto target = object<Map>(map);
    std::string name = requiredText(key);
    Value value = make();
    target->change([&](Dictionary& entries) { entries.insert_or_assign(std::move(name), std::move(value)); });
  });
}

template <typename Make>
lumora_result append(lumora_list list, Make&& make) {
  return guarded([&] {
    const auto target = object<ValueList>(list);
    Value value = make();
    target->change([&](List& elements) { elements.push_back(std::move(value)); });
  });
}

Value text(lumora_text value) {
  return Value(optionalText(value));
}

Value bytes(lumora_data value) {
  auto data = optionalData(value);
  return data ? Value(*std::move(data)) : Value();
}

Value mapValue(lumora_map value) {
  return object<Map>(value)->contents();
}

Value listValue(lumora_list value) {
  return object<ValueList>(value)->contents();
}

}  // namespace
}  // namespace lumora::c

using namespace lumora::c;
using lumora::Value;

lumora_map lumora_map_new(void) {
  return guardedValue(LUMORA_NONE, [] { return Handles::sharedInstance().add(std::make_shared<Map>()); });
}

lumora_result lumora_map_from_json(lumora_text json, lumora_map* map) {
  return guarded([&] {
    if (map == nullptr) throw Failure{LUMORA_BAD_ARGUMENT};
    *map = LUMORA_NONE;
    *map = Handles::sharedInstance().add(std::make_shared<Map>(mapFromJSON(requiredText(json))));
  });
}

lumora_result lumora_map_set_text(lumora_map map, lumora_text key, lumora_text value) {
  return set(map, key, [&] { return text(value); });
}

lumora_result lumora_map_set_integer(lumora_map map, lumora_text key, int64_t value) {
  return set(map, key, [&] { return Value(value); });
}

lumora_result lumora_map_set_number(lumora_map map, lumora_text key, double value) {
  return set(map, key, [&] { return Value(value); });
}

lumora_result lumora_map_set_bool(lumora_map map, lumora_text key, bool value) {
  return set(map, key, [&] { return Value(value); });
}

lumora_result lumora_map_set_data(lumora_map map, lumora_text key, lumora_data value) {
  return set(map, key, [&] { return bytes(value); });
}

lumora_result lumora_map_set_date(lumora_map map, lumora_text key, double value) {
  return set(map, key, [&] { return Value(lumora::dateFromSeconds(value)); });
}

lumora_result lumora_map_set_map(lumora_map map, lumora_text key, lumora_map value) {
  return set(map, key, [&] { return mapValue(value); });
}

lumora_result lumora_map_set_list(lumora_map map, lumora_text key, lumora_list value) {
  return set(map, key, [&] { return listValue(value); });
}

lumora_result lumora_map_set_null(lumora_map map, lumora_text key) {
  return set(map, key, [] { return Value(); });
}

lumora_list lumora_list_new(void) {
  return guardedValue(LUMORA_NONE,
                      [] { return Handles::sharedInstance().add(std::make_shared<ValueList>()); });
}

lumora_result lumora_list_add_text(lumora_list list, lumora_text value) {
  return append(list, [&] { return text(value); });
}

lumora_result lumora_list_add_integer(lumora_list list, int64_t value) {
  return append(list, [&] { return Value(value); });
}

lumora_result lumora_list_add_number(lumora_list list, double value) {
  return append(list, [&] { return Value(value); });
}

lumora_result lumora_list_add_bool(lumora_list list, bool value) {
  return append(list, [&] { return Value(value); });
}

lumora_result lumora_list_add_data(lumora_list list, lumora_data value) {
  return append(list, [&] { return bytes(value); });
}

lumora_result lumora_list_add_date(lumora_list list, double value) {
  return append(list, [&] { return Value(lumora::dateFromSeconds(value)); });
}

lumora_result lumora_list_add_map(lumora_list list, lumora_map value) {
  return append(list, [&] { return mapValue(value); });
}

lumora_result lumora_list_add_list(lumora_list list, lumora_list value) {
  return append(list, [&] { return listValue(value); });
}

lumora_result lumora_list_add_null(lumora_list list) {
  return append(list, [] { return Value(); });
}
