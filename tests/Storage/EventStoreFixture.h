#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Testing/FakePlatform.h"
#include "tests/Storage/SQLiteConnection.h"

namespace lumora::tests {

/// The event store on a temporary folder.
class EventStoreTest : public ::testing::Test {
 protected:
  struct Queue {
    std::string text;
    std::vector<std::int64_t> ids;
  };

  static LMRDataManager& store() { return LMRDataManager::sharedInstance(); }

  std::string path() { return host.files.documentsDirectory() + "/ostrelab.sqlite"; }

  static void save(const std::string& name, const std::string& type = "checkpoint") {
    store().saveEventInDB({{"event_type", type}, {"name", name}});
  }

  static std::string record(const std::string& name, const std::string& type = "checkpoint") {
    return R"({"event_type":")" + type + R"(","name":")" + name + R"("})";
  }

  static Queue queue() {
    Queue found;
    int calls = 0;
    store().getEventsDataWith([&](const std::string& events, const List& ids) {
      ++calls;
      found.text = events;
      for (const Value& id : ids) found.ids.push_back(id.integerValue());
    });
    EXPECT_EQ(calls, 1);
    return found;
  }

  static std::size_t count() { return queue().ids.size(); }

  /// Puts so many rows into the empty queue at once.
  void fill(int rows) {
    count();  // Makes the tables.
    SQLiteConnection(path()).run(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n LIMIT " + std::to_string(rows) +
        ") INSERT INTO ostrel_events (event) SELECT '{\"event_type\":\"checkpoint\"}' FROM n");
  }

  testing::FakePlatform& host = testing::FakePlatform::install();
};

}  // namespace lumora::tests
