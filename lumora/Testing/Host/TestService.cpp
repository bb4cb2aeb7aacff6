// The service behind the fake URL loader. What it is asked is told apart by the path; whether an upload
// counts as accepted, by the rule that the library itself applies to the answer.
#include "lumora/Testing/Host/TestService.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "lumora/Platform/JSON.h"

namespace lumora::testing {
namespace {

constexpr const char* accepted = R"({"success":true})";

URLResponse response(int statusCode, std::string body) {
  return {statusCode, {}, std::move(body), std::nullopt};
}

RequestKind kindOf(const URLRequest& request) {
  if (request.url.find("/api/v1/sync/") != std::string::npos) return RequestKind::sync;
  return request.method == "POST" ? RequestKind::upload : RequestKind::other;
}

bool accepts(const URLResponse& answer) {
  const auto decoded = parseJSON(answer.body);
  const Dictionary* entries = decoded ? decoded->asDictionary() : nullptr;
  const Value* success = entries ? findValue(*entries, "success") : nullptr;
  return success && success->isNumber() && success->boolValue();
}

/// One record per line.
std::vector<UploadedEvent> eventsIn(std::string_view body) {
  std::vector<UploadedEvent> events;
  while (!body.empty()) {
    const std::string_view line = body.substr(0, body.find('\n'));
    body.remove_prefix(std::min(line.size() + 1, body.size()));
    const auto record = parseJSON(line);
    if (record && record->asDictionary())
      events.push_back(UploadedEvent::fromRecord(*record->asDictionary()));
  }
  return events;
}

}  // namespace

TestService::TestService(FakePlatform& fakes)
    : fakes_(fakes), syncAnswer_(response(200, accepted)), uploadAnswer_(response(200, accepted)) {
  fakes.urlLoader.setHandler([this](const URLRequest& request) { return answer(request); });
}

URLResponse TestService::answer(const URLRequest& request) {
  Lock lock(mutex_);
  if (isOffline_) {
    return {
        0, {}, "", TransportError{std::string(kURLErrorDomain), kURLErrorNotConnectedToInternet, "offline"}};
  }
  switch (kindOf(request)) {
    case RequestKind::sync:
      return syncAnswerWithOffers();
    case RequestKind::upload:
      if (accepts(uploadAnswer_)) {
        for (UploadedEvent& event : eventsIn(request.body)) uploaded_.push_back(std::move(event));
      }
      return uploadAnswer_;
    case RequestKind::other:
      break;
  }
  // A registration is accepted; for a picture it is bytes like any others.
  return response(200, accepted);
}

/// An answer that is no JSON object stays as it is: it offers nothing.
URLResponse TestService::syncAnswerWithOffers() {
  const List offered = std::exchange(offered_, {});
  const auto decoded = parseJSON(syncAnswer_.body);
  if (offered.empty() || !decoded || !decoded->asDictionary()) return syncAnswer_;
  Dictionary entries = *decoded->asDictionary();
  const Value* before = findValue(entries, "inapp");
  List campaigns = before && before->asList() ? *before->asList() : List();
  campaigns.insert(campaigns.end(), offered.begin(), offered.end());
  entries.insert_or_assign("inapp", std::move(campaigns));
  URLResponse answer = syncAnswer_;
  answer.body = writeJSON(entries).value_or(answer.body);
  return answer;
}

void TestService::answerSync(const Dictionary& entries) {
  Dictionary whole = entries;
  whole.emplace("success", true);
  const auto body = writeJSON(whole);
  if (!body) throw std::logic_error("answerSync: the entries hold what JSON has no form for");
  answerSync(200, *body);
}

void TestService::answerSync(int statusCode, std::string body) {
  Lock lock(mutex_);
  syncAnswer_ = response(statusCode, std::move(body));
}

void TestService::offerInNextSync(const Dictionary& campaign) {
  Lock lock(mutex_);
  offered_.emplace_back(campaign);
}

void TestService::answerUpload(int statusCode, std::string body) {
  Lock lock(mutex_);
  uploadAnswer_ = response(statusCode, std::move(body));
}

void TestService::acceptUploads() {
  answerUpload(200, accepted);
}

void TestService::goOffline() {
  Lock lock(mutex_);
  isOffline_ = true;
}

void TestService::goOnline() {
  Lock lock(mutex_);
  isOffline_ = false;
}

std::vector<UploadedEvent> TestService::uploadedEvents() const {
  if (fakes_.queues.pendingCount() > 0) {
    throw std::logic_error(
        "uploadedEvents: the library has not worked on all calls of the host yet; call run() or upload() of "
        "the TestHost first");
  }
  Lock lock(mutex_);
  return uploaded_;
}

std::vector<UploadedEvent> TestService::uploadedEvents(EventKind kind) const {
  std::vector<UploadedEvent> events = uploadedEvents();
  std::erase_if(events, [kind](const UploadedEvent& event) { return event.kind != kind; });
  return events;
}

std::vector<std::string> TestService::uploadedActions() const {
  std::vector<std::string> names;
  for (UploadedEvent& event : uploadedEvents(EventKind::action)) names.push_back(std::move(event.name));
  return names;
}

std::vector<URLRequest> TestService::requests(RequestKind kind) const {
  std::vector<URLRequest> requests = fakes_.urlLoader.requests();
  std::erase_if(requests, [kind](const URLRequest& request) { return kindOf(request) != kind; });
  return requests;
}

void TestService::forget() {
  fakes_.urlLoader.clearRequests();
  Lock lock(mutex_);
  uploaded_.clear();
}

}  // namespace lumora::testing
