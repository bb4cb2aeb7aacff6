// What the studio asks of the archive's file. It is written by EventArchive.cpp.
#include "service/EventQueries.h"

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

namespace lumora::service {
namespace {

constexpr const char* kKind = "CASE WHEN json_valid(event) THEN json_extract(event, '$.event_type') END";

/// What tells events of a kind apart.
constexpr const char* kName =
    "CASE WHEN json_valid(event) THEN coalesce(json_extract(event, '$.name'), "
    "json_extract(event, '$.push.subtype'), json_extract(event, '$.inapp.subtype')) END";

/// Texts of people may be as long as a report; a list shows their beginnings.
std::string summary() {
  return fmt::format(
      "SELECT id, account, uuid, received, length(event) AS size, substr(event, 1, 160) AS text, "
      "substr({}, 1, 80) AS kind, substr({}, 1, 160) AS name ",
      kKind, kName);
}

/// The conditions of a filter, with what they are filled with.
std::string conditionsOf(const EventFilter& filter, std::vector<JSON>& arguments) {
  std::string text = "WHERE true";
  const auto add = [&](const std::string& condition, const std::string& value) {
    if (value.empty()) return;
    text += " AND " + condition;
    arguments.emplace_back(value);
  };
  add("account = ?", filter.account);
  add("uuid = ?", filter.device);
  add(std::string(kKind) + " = ?", filter.kind);
  add(fmt::format("instr(lower({}), lower(?)) > 0", kName), filter.name);
  add("instr(lower(event), lower(?)) > 0", filter.search);
  return text;
}

JSON columnOf(sqlite3_stmt* statement, int column) {
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
      return sqlite3_column_int64(statement, column);
    case SQLITE_FLOAT:
      return sqlite3_column_double(statement, column);
    case SQLITE_NULL:
      return nullptr;
    default:
      const auto* const bytes = static_cast<const char*>(sqlite3_column_blob(statement, column));
      const int size = sqlite3_column_bytes(statement, column);
      return bytes == nullptr ? std::string() : std::string(bytes, static_cast<std::size_t>(size));
  }
}

void bind(sqlite3_stmt* statement, int index, const JSON& value) {
  if (value.is_string()) {
    const auto& text = value.get_ref<const std::string&>();
    sqlite3_bind_text64(statement, index, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  } else if (value.is_number_integer()) {
    sqlite3_bind_int64(statement, index, value.get<std::int64_t>());
  } else {
    sqlite3_bind_double(statement, index, value.get<double>());
  }
}

}  // namespace

EventQueries::EventQueries(const std::string& file) {
  const Lock lock(mutex_);
  sqlite3* database = nullptr;
  const int result = sqlite3_open_v2(file.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr);
  database_.reset(database);
  if (result != SQLITE_OK)
    throw std::runtime_error("The file " + file + " cannot be used: " + sqlite3_errmsg(database) + '.');
  constexpr int busyTimeoutMilliseconds = 5000;
  sqlite3_busy_timeout(database, busyTimeoutMilliseconds);
}

JSON EventQueries::rows(const std::string& sql, const Arguments& arguments) {
  const Lock lock(mutex_);
  sqlite3_stmt* made = nullptr;
  sqlite3_prepare_v2(database_.get(), sql.c_str(), -1, &made, nullptr);
  const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> statement(made, sqlite3_finalize);
  if (made == nullptr) throw std::runtime_error(sqlite3_errmsg(database_.get()));
  for (std::size_t i = 0; i < arguments.size(); ++i) bind(made, static_cast<int>(i) + 1, arguments[i]);
  JSON result = JSON::array();
  while (sqlite3_step(made) == SQLITE_ROW) {
    JSON row;
    for (int column = 0; column < sqlite3_column_count(made); ++column)
      row[sqlite3_column_name(made, column)] = columnOf(made, column);
    result.push_back(std::move(row));
  }
  return result;
}

JSON EventQueries::page(const EventFilter& filter, std::int64_t position, std::int64_t count) {
  Arguments arguments;
  const std::string conditions = conditionsOf(filter, arguments);
  const JSON total = rows("SELECT COUNT(*) AS total FROM events " + conditions, arguments);
  arguments.insert(arguments.end(), {count, position});
  return {
      {"total", total[0]["total"]},
      {"rows", rows(summary() + "FROM events " + conditions + " ORDER BY id LIMIT ? OFFSET ?", arguments)}};
}

JSON EventQueries::extent() {
  return rows("SELECT COUNT(*) AS total, COALESCE(MAX(id), 0) AS last FROM events", {})[0];
}

JSON EventQueries::newest(std::int64_t after) {
  // One statement, so that the count and the rows are of the same moment.
  JSON found = rows("SELECT * FROM (" + summary() +
                        ", (SELECT COUNT(*) FROM events WHERE id > ?1) AS fresh FROM events WHERE id > ?1 "
                        "ORDER BY id DESC LIMIT 20) ORDER BY id",
                    {after});
  const JSON fresh = found.empty() ? JSON(0) : found[0]["fresh"];
  return {{"fresh", fresh}, {"rows", std::move(found)}};
}

JSON EventQueries::event(std::int64_t id) {
  JSON found = rows("SELECT id, account, uuid, received, event FROM events WHERE id = ?", {id});
  return found.empty() ? JSON() : found[0];
}

JSON EventQueries::devices() {
  return rows(
      "SELECT uuid, account, COUNT(*) AS count, MAX(received) AS last FROM events GROUP BY uuid, account",
      {});
}

JSON EventQueries::counts(double from, double to, int parts) {
  return rows(
      "SELECT CAST((received - ?1) / (?2 - ?1) * ?3 AS INTEGER) AS part, uuid, COUNT(*) AS count FROM events "
      "WHERE received >= ?1 AND received < ?2 GROUP BY part, uuid",
      {from, to, parts});
}

JSON EventQueries::testDevices() {
  return rows(
      "SELECT account, name, push_token, token, device_type, registered FROM test_devices ORDER BY "
      "registered",
      {});
}

}  // namespace lumora::service
