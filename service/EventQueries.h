#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "lumora/Platform/Mutex.h"
#include "service/AccountsFile.h"

namespace lumora::service {

/// Which events are asked for; an empty text asks for all.
struct EventFilter {
  std::string account;
  std::string device;
  std::string kind;
  /// A part of what tells events of a kind apart: an action's name, what was done with a message.
  std::string name;
  /// Anywhere in the event's text. Both are without regard to the case of ASCII letters.
  std::string search;
};

/// Reads what the archive has stored, on a connection of its own. Any thread.
class EventQueries {
 public:
  /// The archive has made the file. Throws std::runtime_error.
  explicit EventQueries(const std::string& file);

  /// "total", and "rows": summaries of the events from the given position on, in order of arrival.
  JSON page(const EventFilter& filter, std::int64_t position, std::int64_t count);
  /// "total", and "last", the number of the newest.
  JSON extent();
  /// "fresh", how many there are after the one of that number, and "rows": summaries of the newest of them,
  /// twenty at most, the oldest first.
  JSON newest(std::int64_t after);
  /// The event whole; null when there is none.
  JSON event(std::int64_t id);
  /// How many there are, by device: the uuid, its account, the count and the last arrival.
  JSON devices();
  /// What has arrived in each of so many equal parts of the time from `from` to `to`, by device.
  JSON counts(double from, double to, int parts);
  JSON testDevices();

 private:
  struct DatabaseDeleter {
    void operator()(sqlite3* database) const noexcept { sqlite3_close(database); }
  };
  using Arguments = std::vector<JSON>;

  JSON rows(const std::string& sql, const Arguments& arguments);

  Mutex mutex_;
  std::unique_ptr<sqlite3, DatabaseDeleter> database_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::service
