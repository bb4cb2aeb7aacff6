#include "bench/PlainStore.h"

namespace lumora_bench {
namespace {

constexpr int kEventsInCommit = 50;

}  // namespace

PlainStore::PlainStore(const std::string& file) : database_(file) {
  database_.keepLog();
  database_.run(kEventsTable);
}

void PlainStore::store(const std::string& text) {
  worker_.async([this, text] { insert(text); });
}

void PlainStore::settle() {
  worker_.sync([this] { commit(); });
}

void PlainStore::clear() {
  worker_.sync([this] {
    commit();
    database_.run("DELETE FROM ostrel_events");
  });
}

void PlainStore::insert(const std::string& text) {
  if (uncommitted_ == 0) database_.run("BEGIN");
  database_.insertEvent(text);
  if (++uncommitted_ == kEventsInCommit) commit();
}

void PlainStore::commit() {
  if (uncommitted_ > 0) database_.run("COMMIT");
  uncommitted_ = 0;
}

}  // namespace lumora_bench
