#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "lumora/Platform/Mutex.h"
#include "service/AccountsEditor.h"
#include "service/EventQueries.h"
#include "service/LiveFeed.h"
#include "service/Phones.h"
#include "service/RequestRecord.h"
#include "service/Service.h"

namespace lumora::service {

/// A question of the studio's page.
struct StudioRequest {
  std::string method;
  /// The path's parts behind the token, such as "phones", "1", "launch".
  std::vector<std::string> path;
  /// The query's entries and the body's, one object.
  JSON arguments;
  /// The body as it came.
  std::string body;
};

struct StudioAnswer {
  int status = 200;
  std::string body = {};
  std::string contentType = "application/json";
};

/// What the studio's page sees and does: phones, events, accounts, verdicts. How the page's questions come in
/// is StudioServer's business. Any thread.
class Studio {
 public:
  struct Options {
    std::string dataDirectory;
    std::string accountsFile;
    std::string assetsDirectory;
    std::string domain;
    std::string hostProgram;
  };

  Studio(Options options, Service& service);
  ~Studio();
  Studio(const Studio&) = delete;
  Studio& operator=(const Studio&) = delete;

  StudioAnswer answer(const StudioRequest& request);
  LiveFeed& feed() noexcept { return feed_; }
  /// A request has come to the service, and its answer is about to be sent.
  void tell(const RequestRecord& record);

 private:
  struct Route;
  using Handler = StudioAnswer (Studio::*)(const StudioRequest& request);

  StudioAnswer state(const StudioRequest& request);
  StudioAnswer addPhone(const StudioRequest& request);
  StudioAnswer changePhone(const StudioRequest& request);
  StudioAnswer lookAtPhone(const StudioRequest& request);
  StudioAnswer events(const StudioRequest& request);
  StudioAnswer event(const StudioRequest& request);
  StudioAnswer timeline(const StudioRequest& request);
  StudioAnswer accounts(const StudioRequest& request);
  StudioAnswer changeAccounts(const StudioRequest& request);
  StudioAnswer verdict(const StudioRequest& request);
  StudioAnswer assets(const StudioRequest& request);
  StudioAnswer asset(const StudioRequest& request);
  StudioAnswer addAsset(const StudioRequest& request);
  StudioAnswer testDevices(const StudioRequest& request);
  StudioAnswer link(const StudioRequest& request);
  StudioAnswer faults(const StudioRequest& request);

  std::shared_ptr<Phone> phoneOf(const StudioRequest& request) const;
  void launch(Phone& phone, const JSON& arguments);
  void watchAccounts();

  const Options options_;
  Service& service_;
  LiveFeed feed_;
  AccountsEditor editor_;
  EventQueries queries_;
  /// Reads on a connection of its own, so that no page's search keeps a report from its answer.
  EventQueries arrivals_;
  Phones phones_;

  Mutex mutex_;
  std::deque<JSON> requests_ LUMORA_GUARDED_BY(mutex_);
  std::int64_t lastRequest_ LUMORA_GUARDED_BY(mutex_) = 0;
  std::int64_t lastEvent_ LUMORA_GUARDED_BY(mutex_) = 0;
  std::int64_t eventCount_ LUMORA_GUARDED_BY(mutex_) = 0;
  bool isEnding_ LUMORA_GUARDED_BY(mutex_) = false;
  std::condition_variable_any ending_;
  std::thread watcher_;
};

}  // namespace lumora::service
