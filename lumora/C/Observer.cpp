// What a C host is told of the library's inside: by an observer, and by the status that it asks for.
#include "lumora/C/Arguments.h"
#include "lumora/C/Facade.h"

namespace lumora::c {
namespace {

// The numbers of C are those of C++.
using Reason = LumoraError::Reason;
static_assert(static_cast<lumora_reason>(Reason::network) == LUMORA_REASON_NETWORK);
static_assert(static_cast<lumora_reason>(Reason::aborted) == LUMORA_REASON_ABORTED);
static_assert(static_cast<lumora_loss>(LumoraEventLoss::storeFailed) == LUMORA_LOSS_STORE_FAILED);
using Operation = LumoraStatus::Operation;
static_assert(static_cast<lumora_operation>(Operation::upload) == LUMORA_OPERATION_UPLOAD);

lumora_error errorForC(const LumoraError& error) {
  return {.size = sizeof(lumora_error),
          .reason = static_cast<lumora_reason>(error.reason),
          .code = error.code,
          .message = view(error.message)};
}

/// Hands each notice to the C host's callback, if it has one for it.
class HostObserver : public LumoraObserver {
 public:
  HostObserver(const lumora_observer& host, std::shared_ptr<void> context)
      : host_(host), context_(std::move(context)) {}

  void initialized() override { call(host_.initialized); }
  void initializationFailed(const LumoraError& error) override { tell(host_.initialization_failed, error); }
  void configurationReceived(const Configuration& configuration) override {
    call(host_.configuration_received, configuration.isBlocked, std::uint64_t{configuration.campaigns});
  }
  void campaignDropped(const DroppedCampaign& campaign) override {
    call(host_.campaign_dropped, view(campaign.id), view(campaign.part));
  }
  void messageShown(const std::string& campaign) override { call(host_.message_shown, view(campaign)); }
  void messageDismissed(const std::string& campaign) override {
    call(host_.message_dismissed, view(campaign));
  }
  void uploadFinished(const Upload& upload) override {
    call(host_.upload_finished, std::uint64_t{upload.events}, std::int64_t{upload.duration.count()});
  }
  void uploadFailed(const LumoraError& error) override { tell(host_.upload_failed, error); }
  void eventsDropped(LumoraEventLoss why, std::size_t count) override {
    call(host_.events_dropped, static_cast<lumora_loss>(why), std::uint64_t{count});
  }

 private:
  template <typename... Parameters>
  void call(void (*callback)(void* context, Parameters...), Parameters... parameters) const {
    if (callback != nullptr) callback(context_.get(), parameters...);
  }
  void tell(void (*callback)(void* context, const lumora_error* error), const LumoraError& error) const {
    const lumora_error told = errorForC(error);
    if (callback != nullptr) callback(context_.get(), &told);
  }

  const lumora_observer host_;
  const std::shared_ptr<void> context_;
};

double dateForC(const std::optional<Date>& date) {
  return date ? secondsSince1970(*date) : 0;
}

/// As much of a text as fits before a NUL, cut between two characters.
void copyCut(std::string_view text, char* buffer, std::size_t capacity) {
  const auto continues = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; };
  std::size_t length = std::min(text.size(), capacity - 1);
  while (length > 0 && length < text.size() && continues(text[length])) --length;
  buffer[text.copy(buffer, length)] = '\0';
}

lumora_status statusForC(const LumoraStatus& status) {
  lumora_status told{};
  told.is_initialized = status.isInitialized;
  told.is_blocked = status.isBlocked;
  told.waiting_events = status.waitingEvents ? static_cast<std::int64_t>(*status.waitingEvents) : -1;
  told.last_sync = dateForC(status.lastSync);
  told.last_upload = dateForC(status.lastUpload);
  if (!status.lastError) return told;
  told.last_error = static_cast<lumora_reason>(status.lastError->error.reason);
  told.last_error_code = status.lastError->error.code;
  told.last_error_operation = static_cast<lumora_operation>(status.lastError->operation);
  told.last_error_date = secondsSince1970(status.lastError->date);
  copyCut(status.lastError->error.message, told.last_error_message, sizeof(told.last_error_message));
  return told;
}

}  // namespace
}  // namespace lumora::c

using namespace lumora::c;

lumora_result lumora_set_observer(const lumora_observer* observer) {
  return guarded([&] {
    std::shared_ptr<HostObserver> made;
    if (observer != nullptr) {
      const lumora_observer host = sized(observer);
      made = std::make_shared<HostObserver>(host, owned(host.context, host.free_context));
    }
    facade().setObserver(std::move(made));
  });
}

lumora_result lumora_get_status(lumora_status* status) {
  return guarded([&] {
    requireSize(status);
    lumora_status told = statusForC(facade().status());
    told.size = status->size;
    std::memcpy(status, &told, std::min(status->size, sizeof(told)));
  });
}
