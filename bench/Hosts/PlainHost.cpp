// The floor of the one beside it: the same life with a thread, SQLite and libcurl alone.
#include <memory>
#include <string>

#include "bench/Hosts/Host.h"
#include "bench/LocalService.h"
#include "bench/PlainClient.h"
#include "bench/PlainStore.h"

namespace lumora_bench {
namespace {

struct Host {
  explicit Host(const nlohmann::json& arguments)
      : store(arguments.at("folder").get<std::string>() + "/plain.sqlite"),
        client(arguments.at("address"), arguments.at("authority")),
        text(arguments.at("text")) {}

  void storeEvents(int count) {
    constexpr int eventsInBurst = 50;
    for (int i = 0; i < count; ++i) {
      store.store(text);
      if ((i + 1) % eventsInBurst == 0) store.settle();
    }
    store.settle();
  }

  void upload() {
    store.worker().sync([this] {
      std::string body;
      for (const std::string& event : store.database().texts("SELECT * FROM ostrel_events", 1)) {
        if (!body.empty()) body += '\n';
        body += event;
      }
      client.setHeaders({"Content-type: application/json", std::string("sec: ") + kSecret});
      client.post(std::string(kServiceURL) + "report/events/", body);
      store.database().run("DELETE FROM ostrel_events");
    });
  }

  PlainStore store;
  PlainClient client;
  const std::string text;
};

nlohmann::json given;
Host* host = nullptr;

}  // namespace

/// Nothing is opened before it is needed, nor does the library open anything.
void start(const nlohmann::json& arguments) {
  given = arguments;
}

void makeRequests() {
  host = new Host(given);
  host->store.worker().sync(
      [] { host->client.get(std::string(kServiceURL) + "api/v1/sync/" + kSecret + "?lst=0"); });
  // The application's opening, and what the device is.
  host->storeEvents(2);
  host->upload();
}

void recordEvents(int count) {
  host->storeEvents(count);
  host->upload();
}

}  // namespace lumora_bench
