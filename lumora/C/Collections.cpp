// Maps and lists, entry by entry or of a JSON text.
#include "lumora/C/Collections.h"

#include "lumora/Platform/JSON.h"

namespace lumora::c {
namespace {

void requireDepthOf(const Value& value, int deepest) {
  if (const Dictionary* map = value.asDictionary()) requireDepth(*map, deepest);
  if (const List* list = value.asList()) requireDepth(*list, deepest);
}

}  // namespace

std::optional<Dictionary> optionalMap(lumora_map map) {
  if (map == LUMORA_NONE) return std::nullopt;
  return contentsOf<Dictionary>(map);
}

Dictionary mapFromJSON(std::string_view json) {
  const auto value = parseJSON(json);
  const Dictionary* members = value ? value->asDictionary() : nullptr;
  if (members == nullptr) fail(LUMORA_BAD_JSON);
  return *members;
}

void requireDepth(const Dictionary& map, int deepest) {
  if (deepest == 0) fail(LUMORA_TOO_DEEP);
  for (const auto& [key, value] : map) requireDepthOf(value, deepest - 1);
}

void requireDepth(const List& list, int deepest) {
  if (deepest == 0) fail(LUMORA_TOO_DEEP);
  for (const Value& value : list) requireDepthOf(value, deepest - 1);
}

namespace {

/// A map or a list, which is to lie in another.
template <typename Contents>
Contents nested(lumora_handle handle) {
  auto contents = contentsOf<Contents>(handle);
  requireDepth(contents, kMaximumJSONDepth - 1);
  return contents;
}

void set(lumora_map map, lumora_text key, Value value) {
  std::string name = requiredText(key);
  change<Dictionary>(
      map, [&](Dictionary& entries) { entries.insert_or_assign(std::move(name), std::move(value)); });
}

void append(lumora_list list, Value value) {
  change<List>(list, [&](List& elements) { elements.push_back(std::move(value)); });
}

Value text(lumora_text value) {
  return Value(optionalText(value));
}

Value bytes(lumora_data value) {
  auto data = optionalData(value);
  return data ? Value(*std::move(data)) : Value();
}

}  // namespace
}  // namespace lumora::c

using namespace lumora::c;
using lumora::Dictionary;
using lumora::List;
using lumora::Value;

lumora_map lumora_map_new(void) {
  return guardedValue(LUMORA_NONE,
                      [] { return Handles::sharedInstance().add(std::make_shared<Dictionary>()); });
}

lumora_result lumora_map_from_json(lumora_text json, lumora_map* map) {
  return guarded([&] {
    if (map == nullptr) fail(LUMORA_BAD_ARGUMENT);
    *map = LUMORA_NONE;
    *map = Handles::sharedInstance().add(std::make_shared<Dictionary>(mapFromJSON(requiredText(json))));
  });
}

lumora_result lumora_map_set_text(lumora_map map, lumora_text key, lumora_text value) {
  return guarded([&] { set(map, key, text(value)); });
}

lumora_result lumora_map_set_integer(lumora_map map, lumora_text key, int64_t value) {
  return guarded([&] { set(map, key, value); });
}

lumora_result lumora_map_set_number(lumora_map map, lumora_text key, double value) {
  return guarded([&] { set(map, key, value); });
}

lumora_result lumora_map_set_bool(lumora_map map, lumora_text key, bool value) {
  return guarded([&] { set(map, key, value); });
}

lumora_result lumora_map_set_data(lumora_map map, lumora_text key, lumora_data value) {
  return guarded([&] { set(map, key, bytes(value)); });
}

lumora_result lumora_map_set_date(lumora_map map, lumora_text key, double value) {
  return guarded([&] { set(map, key, lumora::dateFromSeconds(value)); });
}

lumora_result lumora_map_set_map(lumora_map map, lumora_text key, lumora_map value) {
  return guarded([&] { set(map, key, nested<Dictionary>(value)); });
}

lumora_result lumora_map_set_list(lumora_map map, lumora_text key, lumora_list value) {
  return guarded([&] { set(map, key, nested<List>(value)); });
}

lumora_result lumora_map_set_null(lumora_map map, lumora_text key) {
  return guarded([&] { set(map, key, Value()); });
}

lumora_list lumora_list_new(void) {
  return guardedValue(LUMORA_NONE, [] { return Handles::sharedInstance().add(std::make_shared<List>()); });
}

lumora_result lumora_list_add_text(lumora_list list, lumora_text value) {
  return guarded([&] { append(list, text(value)); });
}

lumora_result lumora_list_add_integer(lumora_list list, int64_t value) {
  return guarded([&] { append(list, value); });
}

lumora_result lumora_list_add_number(lumora_list list, double value) {
  return guarded([&] { append(list, value); });
}

lumora_result lumora_list_add_bool(lumora_list list, bool value) {
  return guarded([&] { append(list, value); });
}

lumora_result lumora_list_add_data(lumora_list list, lumora_data value) {
  return guarded([&] { append(list, bytes(value)); });
}

lumora_result lumora_list_add_date(lumora_list list, double value) {
  return guarded([&] { append(list, lumora::dateFromSeconds(value)); });
}

lumora_result lumora_list_add_map(lumora_list list, lumora_map value) {
  return guarded([&] { append(list, nested<Dictionary>(value)); });
}

lumora_result lumora_list_add_list(lumora_list list, lumora_list value) {
  return guarded([&] { append(list, nested<List>(value)); });
}

lumora_result lumora_list_add_null(lumora_list list) {
  return guarded([&] { append(list, Value()); });
}
