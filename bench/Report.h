#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace lumora_bench {

/// One line of the table: a measured value beside its floor, the least that the same work can cost.
struct Row {
  std::string measure;
  std::string unit;
  double value = 0;
  std::optional<double> floor = {};
  /// The goals, in the row's unit and as a multiple of the floor. A row without any is only reported.
  std::optional<double> maximumValue = {};
  std::optional<double> maximumRatio = {};

  std::optional<double> ratio() const;
  /// Nothing without a goal.
  std::optional<bool> isMet() const;
};

/// What one measure found out.
struct Report {
  std::vector<Row> rows = {};
  /// What a reader must know to read the rows rightly.
  std::vector<std::string> notes = {};
};

/// A report on its way from a child process to its parent.
nlohmann::json toJSON(const Report& report);
Report reportFromJSON(const nlohmann::json& json);

/// The rows as a table with a header line, then the notes.
std::string tableText(const Report& report);

}  // namespace lumora_bench
