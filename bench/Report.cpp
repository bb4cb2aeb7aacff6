#include "bench/Report.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace lumora_bench {
namespace {

using nlohmann::json;
using Cells = std::array<std::string, 6>;

json toJSON(const std::optional<double>& number) {
  return number ? json(*number) : json();
}

std::optional<double> optionalNumber(const json& value) {
  if (value.is_null()) return std::nullopt;
  return value.get<double>();
}

/// Three significant digits; whole numbers from a hundred on.
std::string numberText(double number) {
  if (number >= 100) return fmt::format("{:.0f}", number);
  return fmt::format("{:.{}f}", number, number >= 10 ? 1 : 2);
}

std::string goalText(const Row& row) {
  std::string text;
  if (row.maximumValue) text = fmt::format("≤ {:g} {}", *row.maximumValue, row.unit);
  if (row.maximumRatio) text += fmt::format("{}≤ {:.2f} ×", text.empty() ? "" : ", ", *row.maximumRatio);
  return text.empty() ? "–" : text;
}

Cells cellsOf(const Row& row) {
  const auto ratio = row.ratio();
  const auto isMet = row.isMet();
  const auto met = [&] { return *isMet ? "met" : "NOT MET"; };
  return {row.measure,
          numberText(row.value) + " " + row.unit,
          row.floor ? numberText(*row.floor) + " " + row.unit : "–",
          ratio ? fmt::format("{:.2f} ×", *ratio) : "–",
          goalText(row),
          isMet ? met() : "reported"};
}

/// Columns on the screen: UTF-8 continuation bytes take none.
std::size_t width(const std::string& text) {
  const auto isFirstByte = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; };
  return static_cast<std::size_t>(std::ranges::count_if(text, isFirstByte));
}

std::string lineText(const Cells& cells, const std::array<std::size_t, 6>& widths) {
  std::string line = "|";
  for (std::size_t i = 0; i < cells.size(); ++i) {
    line += " " + cells.at(i) + std::string(widths.at(i) - width(cells.at(i)), ' ') + " |";
  }
  return line + "\n";
}

}  // namespace

std::optional<double> Row::ratio() const {
  if (!floor || *floor <= 0) return std::nullopt;
  return value / *floor;
}

std::optional<bool> Row::isMet() const {
  if (!maximumValue && !maximumRatio) return std::nullopt;
  if (maximumValue && value > *maximumValue) return false;
  return !maximumRatio || ratio().value_or(0) <= *maximumRatio;
}

json toJSON(const Report& report) {
  json rows = json::array();
  for (const Row& row : report.rows) {
    rows.push_back({{"measure", row.measure},
                    {"unit", row.unit},
                    {"value", row.value},
                    {"floor", toJSON(row.floor)},
                    {"maximumValue", toJSON(row.maximumValue)},
                    {"maximumRatio", toJSON(row.maximumRatio)}});
  }
  return {{"rows", std::move(rows)}, {"notes", report.notes}};
}

Report reportFromJSON(const json& source) {
  Report report;
  for (const json& row : source.at("rows")) {
    report.rows.push_back({.measure = row.at("measure"),
                           .unit = row.at("unit"),
                           .value = row.at("value"),
                           .floor = optionalNumber(row.at("floor")),
                           .maximumValue = optionalNumber(row.at("maximumValue")),
                           .maximumRatio = optionalNumber(row.at("maximumRatio"))});
  }
  report.notes = source.at("notes");
  return report;
}

std::string tableText(const Report& report) {
  std::vector<Cells> lines{{"measure", "value", "floor", "ratio", "goal", "met or not"}};
  for (const Row& row : report.rows) lines.push_back(cellsOf(row));
  std::array<std::size_t, 6> widths{};
  for (const Cells& cells : lines) {
    for (std::size_t i = 0; i < cells.size(); ++i) widths.at(i) = std::max(widths.at(i), width(cells.at(i)));
  }
  Cells rule;
  for (std::size_t i = 0; i < rule.size(); ++i) rule.at(i) = std::string(widths.at(i), '-');
  lines.insert(lines.begin() + 1, rule);
  std::string text;
  for (const Cells& cells : lines) text += lineText(cells, widths);
  for (const std::string& note : report.notes) text += "\n- " + note;
  return report.notes.empty() ? text : text + "\n";
}

}  // namespace lumora_bench
