#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "lumora/InApp/LMRIABackground.h"
#include "lumora/InApp/LMRIAClose.h"
#include "lumora/InApp/LMRIAImage.h"
#include "lumora/InApp/LMRIAPrimaryButton.h"
#include "lumora/InApp/LMRIAPrimaryText.h"
#include "lumora/InApp/LMRIASecondaryButton.h"
#include "lumora/InApp/LMRIASecondaryText.h"
#include "lumora/Platform/Export.h"
#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/Value.h"
#include "lumora/Platform/ViewController.h"

namespace lumora {

struct CampaignRow;

/// One in-app campaign: a message that the service sends, that is stored, and that is shown when the event it
/// waits for is recorded.
///
/// A campaign's life: received → checked, its images fetched → stored → rebuilt from its stored text at every
/// refill of the handler's map → shown → tapped. A message is built whole on one thread and only read after
/// that; the display layer reads it on the main thread.
class LUMORA_EXPORT LMRInAppMessage : public std::enable_shared_from_this<LMRInAppMessage> {
 public:
  enum Status : std::int32_t { stopped = -1, active = 0, paused = 1 };

  /// Checks a campaign object, tells the store its new status, and fetches its images. Gives null, after the
  /// line that drops the campaign, when something is missing or bad. No object at all makes an empty message
  /// that is not valid. Blocks its thread while images download.
  static std::shared_ptr<LMRInAppMessage> initWithDictionary(const std::optional<Dictionary>& campaign);
  /// The same for a caller that looks after the images itself: fetches none, and asks for none.
  static std::shared_ptr<LMRInAppMessage> initWithoutPictures(const std::optional<Dictionary>& campaign);

  /// Whether everything that the layout names is in the cache, or can be done without. Also true when
  /// transfers are refused: then nothing more is asked for, and no picture that is lacked counts against the
  /// campaign.
  bool getResource(const Dictionary& layout) const;
  /// Writes the line that drops the campaign, and gives false.
  bool drop(std::string_view reason) const;
  /// Tells the store the campaign's status: a stopped one is deleted.
  void updateStateIfNeeded() const;
  /// Whether the campaign has not ended yet.
  bool isValid() const;
  /// True unless the first date is later than the second.
  static bool date(Date first, Date second) { return first <= second; }
  /// Milliseconds since 1970-01-01 UTC of a text like "2016-11-01T08:30:00+0100" (or "Z", "+01:00",
  /// "GMT+01:00").
  static std::optional<double> getTimeStamp(const std::string& text);
  /// The campaign object as text for the inside of an SQL literal.
  std::optional<std::string> getJsonData() const;
  /// What the store keeps of it.
  CampaignRow row() const;

  const std::optional<std::string>& getCampaignId() const noexcept { return campaign_id_; }
  const std::optional<std::string>& getDisplayTrigger() const noexcept { return display_trigger_; }
  std::int32_t getFrequency() const noexcept { return display_frequency_; }
  const Dictionary& getLayout() const noexcept { return layout_; }
  std::int32_t getType() const noexcept { return notificationType_; }
  const Value& getAction() const noexcept { return action_; }
  /// Milliseconds since 1970-01-01 UTC as text; the present time when the campaign has no start.
  std::string getStartTime() const;
  std::string getEndTime() const;

  std::int32_t status() const noexcept { return status_; }
  std::int32_t version() const noexcept { return version_; }
  const std::optional<double>& start_time() const noexcept { return start_time_; }
  const std::optional<double>& end_time() const noexcept { return end_time_; }
  const std::optional<Dictionary>& data() const noexcept { return data_; }
  /// The layout's code, 101 to 106.
  std::int32_t notificationType() const noexcept { return notificationType_; }
  bool end_on_action() const noexcept { return false; }

  /// The parts of the screen; null where the layout has none.
  const std::shared_ptr<LMRIABackground>& background() const noexcept { return background_; }
  const std::shared_ptr<LMRIAImage>& image() const noexcept { return image_; }
  const std::shared_ptr<LMRIAPrimaryText>& primaryText() const noexcept { return primaryText_; }
  const std::shared_ptr<LMRIASecondaryText>& secondaryText() const noexcept { return secondaryText_; }
  const std::shared_ptr<LMRIAPrimaryButton>& primaryButton() const noexcept { return primaryButton_; }
  const std::shared_ptr<LMRIASecondaryButton>& secondaryButton() const noexcept { return secondaryButton_; }
  const std::shared_ptr<LMRIAClose>& closeButton() const noexcept { return closeButton_; }

  /// The identifier of the screen that shows the message, "" for an unknown layout.
  std::string containerView() const;
  /// Makes the screen and presents it, on the main queue. Without a layout resource or a window nothing is
  /// shown. The message does not keep its screen, so the screen may keep its message.
  void show();
  /// The screen of the last `show`, from then on until the display has dismissed it; null before and after.
  /// Any thread: should the caller be the last to let go of it, it still ends on the main queue.
  std::shared_ptr<ViewController> inAppViewController() const;

 private:
  LUMORA_INTERNAL bool read(const Dictionary& campaign);
  LUMORA_INTERNAL bool readIdentity(const Dictionary& campaign);
  LUMORA_INTERNAL bool readDisplayRules(const Dictionary& campaign);
  LUMORA_INTERNAL bool readTimes(const Dictionary& campaign);
  LUMORA_INTERNAL bool readLayout();
  LUMORA_INTERNAL bool readCloseButton();
  LUMORA_INTERNAL bool buildComponent(std::string_view key);
  template <auto component>
  static bool build(LMRInAppMessage& message, const Dictionary* data);
  LUMORA_INTERNAL void present(const std::shared_ptr<ViewController>& container) const;

  std::optional<std::string> campaign_id_;
  std::int32_t status_ = active;
  Dictionary layout_;
  std::int32_t version_ = 0;
  Value action_;
  std::optional<std::string> display_trigger_;
  std::int32_t display_frequency_ = 0;
  std::optional<double> start_time_;
  std::optional<double> end_time_;
  std::optional<Dictionary> data_;
  std::int32_t notificationType_ = 0;
  std::shared_ptr<LMRIABackground> background_;
  std::shared_ptr<LMRIAImage> image_;
  std::shared_ptr<LMRIAPrimaryText> primaryText_;
  std::shared_ptr<LMRIASecondaryText> secondaryText_;
  std::shared_ptr<LMRIAPrimaryButton> primaryButton_;
  std::shared_ptr<LMRIASecondaryButton> secondaryButton_;
  std::shared_ptr<LMRIAClose> closeButton_;
  mutable Mutex viewControllerMutex_;
  std::weak_ptr<ViewController> inAppViewController_ LUMORA_GUARDED_BY(viewControllerMutex_);
};

}  // namespace lumora
