#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "lumora/Platform/Mutex.h"

namespace lumora::service {

/// A device that a developer has registered for trying campaigns.
struct TestDevice {
  std::string name;
  std::string pushToken;
  std::string registrationToken;
  std::string type;
};

/// What the service has received, in the SQLite file `service.sqlite`. Any thread.
class EventArchive {
 public:
  /// Opens the file, or makes it. Throws std::runtime_error.
  explicit EventArchive(const std::string& file);

  /// Stores the events of one report, all or none. Returns whether they are stored.
  bool storeEvents(std::string_view account, std::string_view uuid,
                   const std::vector<std::string_view>& events);

  /// Returns false when the account has a device of that name already.
  bool registerTestDevice(std::string_view account, const TestDevice& device);

 private:
  struct DatabaseDeleter {
    void operator()(sqlite3* database) const noexcept { sqlite3_close(database); }
  };
  struct StatementDeleter {
    void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
  };
  using Statement = std::unique_ptr<sqlite3_stmt, StatementDeleter>;

  void execute(const char* sql) LUMORA_REQUIRES(mutex_);
  Statement prepare(const char* sql) LUMORA_REQUIRES(mutex_);

  const std::string file_;
  Mutex mutex_;
  std::unique_ptr<sqlite3, DatabaseDeleter> database_ LUMORA_GUARDED_BY(mutex_);
  Statement insertEvent_ LUMORA_GUARDED_BY(mutex_);
  Statement insertDevice_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::service
