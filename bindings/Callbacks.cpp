// The functions behind the classes that hosts derive, what keeps these, and the gate before them.
#include "bindings/Callbacks.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <utility>
#include <vector>

#include "lumora/Platform/Linux/LinuxPlatform.h"

namespace lumora::bindings {
namespace {

constexpr std::chrono::seconds longestCall{5};

std::atomic<void (*)()> preparation = nullptr;

// Never destroyed: threads of the library use them until the process is gone.
struct GateState {
  std::mutex mutex;
  std::condition_variable left;
  int inside = 0;
  bool isClosed = false;
  const pid_t process = getpid();
};

GateState& gate() {
  static auto* const made = new GateState;
  return *made;
}

class Slot {
 public:
  virtual ~Slot() = default;
  virtual void clear() = 0;
};

struct Slots {
  std::mutex mutex;
  std::vector<std::weak_ptr<Slot>> all;
  std::size_t nextSweep = 64;

  void add(const std::shared_ptr<Slot>& slot) {
    const std::lock_guard lock(mutex);
    all.push_back(slot);
    if (all.size() < nextSweep) return;
    std::erase_if(all, [](const auto& one) { return one.expired(); });
    nextSweep = std::max<std::size_t>(64, 2 * all.size());
  }
};

Slots& slots() {
  static auto* const made = new Slots;
  return *made;
}

/// What a host has registered, as the functions share it that the library keeps.
template <typename Callback>
class SlotOf : public Slot {
 public:
  explicit SlotOf(std::shared_ptr<Callback> callback) : callback_(std::move(callback)) {}

  // The callback ends outside of the lock: its end may run code of the host's.
  void clear() override {
    std::shared_ptr<Callback> old;
    const std::lock_guard lock(mutex_);
    old.swap(callback_);
  }
  std::shared_ptr<Callback> get() const {
    const std::lock_guard lock(mutex_);
    return callback_;
  }

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<Callback> callback_;
};

template <typename Callback>
auto slotOf(std::shared_ptr<Callback> callback) {
  auto slot = std::make_shared<SlotOf<Callback>>(std::move(callback));
  slots().add(slot);
  return slot;
}

/// Calls what the slot holds; false when the runtime has ended, or nothing is registered any more.
template <typename Callback, typename Call>
bool call(const SlotOf<Callback>& slot, const Call& function) {
  const Gate::Entry entry;
  if (!entry) return false;
  const std::shared_ptr<Callback> callback = slot.get();
  if (callback != nullptr) function(*callback);
  return callback != nullptr;
}

class GatedObserver : public LumoraObserver {
 public:
  explicit GatedObserver(std::shared_ptr<LumoraObserver> observer) : slot_(slotOf(std::move(observer))) {}

  void initialized() override {
    call(*slot_, [](auto& observer) { observer.initialized(); });
  }
  void initializationFailed(const LumoraError& error) override {
    call(*slot_, [&](auto& observer) { observer.initializationFailed(error); });
  }
  void configurationReceived(const Configuration& configuration) override {
    call(*slot_, [&](auto& observer) { observer.configurationReceived(configuration); });
  }
  void campaignDropped(const DroppedCampaign& campaign) override {
    call(*slot_, [&](auto& observer) { observer.campaignDropped(campaign); });
  }
  void messageShown(const std::string& campaignId) override {
    call(*slot_, [&](auto& observer) { observer.messageShown(campaignId); });
  }
  void messageDismissed(const std::string& campaignId) override {
    call(*slot_, [&](auto& observer) { observer.messageDismissed(campaignId); });
  }
  void uploadFinished(const Upload& upload) override {
    call(*slot_, [&](auto& observer) { observer.uploadFinished(upload); });
  }
  void uploadFailed(const LumoraError& error) override {
    call(*slot_, [&](auto& observer) { observer.uploadFailed(error); });
  }
  void eventsDropped(LumoraEventLoss why, std::size_t count) override {
    call(*slot_, [&](auto& observer) { observer.eventsDropped(why, count); });
  }

 private:
  const std::shared_ptr<SlotOf<LumoraObserver>> slot_;
};

}  // namespace

Task taskOf(std::shared_ptr<Runnable> runnable) {
  return [slot = slotOf(std::move(runnable))] { call(*slot, [](auto& one) { one.run(); }); };
}

std::shared_ptr<LumoraObserver> gated(std::shared_ptr<LumoraObserver> observer) {
  return observer == nullptr ? nullptr : std::make_shared<GatedObserver>(std::move(observer));
}

MessageScreens& makeMessageScreens(std::shared_ptr<MessageDisplay> display) {
  const auto slot = slotOf(std::move(display));
  return *new MessageScreens(
      [slot](auto message, const Dictionary& description) {
        call(*slot, [&](auto& one) { one.show(message, description); });
      },
      [slot](auto message) { call(*slot, [&](auto& one) { one.dismiss(message); }); });
}

void setLogWriter(LinuxPlatformOptions& options, std::shared_ptr<LogWriter> writer) {
  options.logSink = [slot = slotOf(std::move(writer))](std::string_view message) {
    const std::string line(message);
    if (!call(*slot, [&](auto& one) { one.write(line); })) std::fprintf(stderr, "%s\n", line.c_str());
  };
}

void setURLOpener(LinuxPlatformOptions& options, std::shared_ptr<URLOpener> opener) {
  options.urlOpener = [slot = slotOf(std::move(opener))](const URL& url) {
    bool isOpened = false;
    call(*slot, [&](auto& one) { isOpened = one.open(url.absoluteString()); });
    return isOpened;
  };
}

void setAlertPresenter(LinuxPlatformOptions& options, std::shared_ptr<AlertPresenter> presenter) {
  options.alertPresenter = [slot = slotOf(std::move(presenter))](const Alert& alert) {
    call(*slot, [&](auto& one) { one.show(alert); });
  };
}

void setNotificationScheduler(LinuxPlatformOptions& options,
                              std::shared_ptr<NotificationScheduler> scheduler) {
  const auto slot = slotOf(std::move(scheduler));
  options.notificationScheduler = [slot](const NotificationRequest& request,
                                         Completion::Function completion) {
    const auto shared = std::make_shared<Completion>(std::move(completion));
    call(*slot, [&](auto& one) { one.schedule(request, shared); });
  };
  options.localNotificationScheduler = [slot](const LocalNotification& notification) {
    call(*slot, [&](auto& one) { one.scheduleLocal(notification); });
  };
}

void setMessageScreens(LinuxPlatformOptions& options, MessageScreens& screens) {
  options.rootViewController = [&screens] { return screens.window(); };
  options.layoutLoader = [&screens](const std::string& /*path*/) { return screens.layout(); };
}

void releaseCallbacks() {
  std::vector<std::weak_ptr<Slot>> all;
  {
    const std::lock_guard lock(slots().mutex);
    all.swap(slots().all);
  }
  for (const auto& one : all) {
    if (const auto slot = one.lock()) slot->clear();
  }
}

Gate::Entry::Entry() {
  if (const auto prepare = preparation.load()) prepare();
  const std::lock_guard lock(gate().mutex);
  isInside_ = !gate().isClosed;
  if (isInside_) ++gate().inside;
}

Gate::Entry::~Entry() {
  if (!isInside_) return;
  const std::lock_guard lock(gate().mutex);
  --gate().inside;
  gate().left.notify_all();
}

void Gate::setPreparation(void (*prepare)()) {
  preparation = prepare;
}

void Gate::close() {
  // In a forked child the threads that were inside are gone, maybe with the lock.
  if (getpid() != gate().process) return;
  std::unique_lock lock(gate().mutex);
  gate().isClosed = true;
  gate().left.wait_for(lock, longestCall, [] { return gate().inside == 0; });
}

}  // namespace lumora::bindings
