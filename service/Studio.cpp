// What the studio's page is told without asking: requests, events, the accounts file. What it asks for is
// answered in StudioAnswers.cpp.
#include "service/Studio.h"

#include <chrono>
#include <utility>

#include "service/CampaignVerdict.h"

namespace lumora::service {
namespace {

constexpr std::size_t kMostRequests = 1000;
constexpr std::chrono::milliseconds kLookInterval{150};

JSON summaryOf(const RequestRecord& record) {
  JSON device;
  for (const auto& [name, value] : record.headers) {
    if (name == "uuid") device = value.substr(0, 200);
  }
  constexpr std::size_t longest = 300;
  return {{"time", std::chrono::duration<double>(record.time.time_since_epoch()).count()},
          {"method", record.method.substr(0, longest)},
          {"path", record.path.substr(0, longest)},
          {"account", record.account},
          {"device", device},
          {"size", record.bodySize},
          {"status", record.status},
          {"events", record.events ? JSON(*record.events) : JSON()},
          {"refusal", record.refusal.substr(0, longest)}};
}

}  // namespace

Studio::Studio(Options options, Service& service)
    : options_(std::move(options)),
      service_(service),
      editor_(options_.accountsFile),
      queries_(options_.dataDirectory + "/service.sqlite"),
      arrivals_(options_.dataDirectory + "/service.sqlite"),
      phones_(options_.dataDirectory + "/phones",
              {options_.hostProgram, "127.0.0.1:" + std::to_string(service.port()),
               service.certificateAuthorityFile(), feed_}) {
  CampaignVerdict::prepare({options_.dataDirectory + "/verdicts", options_.assetsDirectory, options_.domain});
  {
    const Lock lock(mutex_);
    const JSON extent = arrivals_.extent();
    eventCount_ = extent["total"];
    lastEvent_ = extent["last"];
  }
  watcher_ = std::thread([this] { watchAccounts(); });
}

Studio::~Studio() {
  {
    const Lock lock(mutex_);
    isEnding_ = true;
  }
  ending_.notify_all();
  feed_.end();
  watcher_.join();
}

void Studio::tell(const RequestRecord& record) {
  JSON request = summaryOf(record);
  JSON news;
  {
    const Lock lock(mutex_);
    request["n"] = ++lastRequest_;
    requests_.push_back(request);
    if (requests_.size() > kMostRequests) requests_.pop_front();
    if (record.events.value_or(0) > 0) {
      // Maybe with those of a report at the same time, which finds none left then.
      JSON newest = arrivals_.newest(lastEvent_);
      JSON& rows = newest["rows"];
      if (!rows.empty()) lastEvent_ = rows.back()["id"];
      eventCount_ += newest["fresh"].get<std::int64_t>();
      if (!rows.empty()) news = {{"total", eventCount_}, {"last", lastEvent_}, {"rows", std::move(rows)}};
    }
    // Told in the order in which they are numbered.
    feed_.tell("request", request);
    if (!news.is_null()) feed_.tell("events", news);
  }
  if (record.path == "/api/v1/test_device") feed_.tell("devices", JSON::object());
}

void Studio::watchAccounts() {
  std::string known = editor_.stamp();
  const Lock lock(mutex_);
  while (!isEnding_) {
    ending_.wait_for(mutex_, kLookInterval);
    std::string now = editor_.stamp();
    if (now == known) continue;
    known = std::move(now);
    service_.certificate();
    feed_.tell("accounts", JSON::object());
  }
}

}  // namespace lumora::service
