#pragma once

#include <string>

#include "bench/PlainSQLite.h"
#include "bench/PlainWorker.h"

namespace lumora_bench {

/// The least that storing events can be: a queue with a thread, a connection that stays open, one prepared
/// statement, a write-ahead log that every commit syncs, 50 events a commit.
class PlainStore {
 public:
  explicit PlainStore(const std::string& file);

  /// Hands an event's text over.
  void store(const std::string& text);
  /// Waits until every event is on the disk.
  void settle();
  void clear();

  PlainWorker& worker() noexcept { return worker_; }
  /// On the worker only.
  PlainSQLite& database() noexcept { return database_; }

 private:
  void insert(const std::string& text);
  void commit();

  PlainSQLite database_;
  int uncommitted_ = 0;
  /// Last: its thread ends before what it uses goes.
  PlainWorker worker_;
};

}  // namespace lumora_bench
