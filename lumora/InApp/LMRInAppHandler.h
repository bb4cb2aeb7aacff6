#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "lumora/Events/EventObserver.h"
#include "lumora/InApp/LMRInAppMessage.h"
#include "lumora/InApp/LMRTappable.h"
#include "lumora/Platform/Export.h"
#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/TaskQueues.h"
#include "lumora/Platform/Value.h"
#include "lumora/Storage/CampaignObserver.h"

namespace lumora {

class CampaignPictures;
struct CampaignRow;

/// Decides when a stored campaign is shown and what a tap on it does.
///
/// The event pipeline tells it of every event and session, on the thread that records them, and the store of
/// deleted campaigns; the display layer tells it of taps, on the main thread. The map from trigger events to
/// campaigns is an immutable snapshot that each refill publishes whole.
///
/// Nothing here waits for the network but `fetchForSession` and `fetchAndRefill`: a campaign whose picture is
/// not in the cache is left out of the map, the picture is fetched on the queue that was named for it, and
/// the map is built again.
class LUMORA_EXPORT LMRInAppHandler : public EventObserver, public CampaignObserver {
 public:
  /// Lets an event's name be looked up without a copy of it.
  struct NameHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const noexcept {
      return std::hash<std::string_view>()(name);
    }
  };
  using EventMap =
      std::unordered_map<std::string, std::shared_ptr<LMRInAppMessage>, NameHash, std::equal_to<>>;

  static LMRInAppHandler& sharedInstance();

  /// An event is about to be stored: shows the campaign that waits for its name, unless one is on screen.
  void currentEvent(const Dictionary& event) override;
  /// A session has started: the application's own makes campaigns shown once per session available again.
  void currentSession(std::string_view name) override;
  /// Publishes the map without the first entry of that campaign.
  void campaignDeleted(const std::string& campaignId) override;

  /// What the display layer calls for a tap on a button, and on the view with the tap recognizer.
  void buttonAction(LMRTappable& button) { processAction(button); }
  void imageAction(LMRTapGestureRecognizer& recognizer);
  /// Reports the tap, changes the campaign's state by its frequency, dismisses the screen, opens the link.
  /// The element may end with its screen.
  void processAction(LMRTappable& element);
  /// Sets the enable flag of the element's campaign, and refills the map.
  void updateResource(const LMRTappable& element, std::int32_t enable);

  /// Builds the map anew from the stored campaigns. Any thread; downloads nothing.
  void refill() { refill(Lacking::isFetched); }
  /// Fetches the pictures that the cache lacks, then builds the map anew. Blocks; no lock may be held.
  void fetchAndRefill();
  /// Fetches the pictures of the campaigns that an application session is about to offer, whose refill runs
  /// under its caller's locks. Blocks; no lock may be held.
  void fetchForSession();
  /// Names the queue on which pictures are fetched that a refill found missing. Until then they are fetched
  /// only by the two above. The queue must live as long as the process.
  void fetchOn(TaskQueue& queue) noexcept { queue_ = &queue; }

  /// The snapshot; null until the first refill.
  std::shared_ptr<const EventMap> lmrInappEvents() const;
  void setLmrInappEvents(std::shared_ptr<const EventMap> events);
  /// The campaign last looked up for an event; null when there was none.
  std::shared_ptr<LMRInAppMessage> message() const;
  /// Whether a campaign was handed to the display and not tapped since.
  bool onScreen() const noexcept { return onScreen_; }
  void setOnScreen(bool onScreen) noexcept { onScreen_ = onScreen; }
  LMRTapGestureRecognizer& tapGestureRecognizer() noexcept { return tapGestureRecognizer_; }

 private:
  /// What becomes of a picture that could not be fetched the last time. While none can be fetched it is only
  /// missed: a campaign that needs it stays stored, and is left out without a word.
  enum class Lacking { isFetched, isGivenUp, isMissed };

  LUMORA_INTERNAL LMRInAppHandler();
  LUMORA_INTERNAL ~LMRInAppHandler() override;
  void refill(Lacking lacking);
  LUMORA_INTERNAL std::shared_ptr<LMRInAppMessage> messageOf(const CampaignRow& row, Lacking lacking);
  LUMORA_INTERNAL void fetchSoon();
  LUMORA_INTERNAL void ignoreTap(LMRTappable& element);

  mutable RecursiveMutex mutex_;
  std::shared_ptr<LMRInAppMessage> message_ LUMORA_GUARDED_BY(mutex_);
  mutable Mutex mapMutex_;
  std::shared_ptr<const EventMap> lmrInappEvents_ LUMORA_GUARDED_BY(mapMutex_);
  std::atomic<bool> onScreen_ = false;
  LMRTapGestureRecognizer tapGestureRecognizer_;
  const std::unique_ptr<CampaignPictures> pictures_;
  std::atomic<TaskQueue*> queue_ = nullptr;
  std::atomic<bool> isFetchQueued_ = false;
};

}  // namespace lumora
