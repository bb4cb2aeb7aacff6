#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "lumora/Platform/ViewController.h"

namespace lumora {

/// The button type of an element whose tap does not count as the campaign's call to action.
inline constexpr std::int32_t kLmroNoCallToAction = 101;

/// An element of a message on screen that reacts to a tap. The display layer sets its values when it builds
/// the screen; the handler reads them. Main thread only.
struct LMRTappable {
  std::string lmrCampaignId;
  /// The campaign's frequency code.
  std::int32_t lmrFrequency = 0;
  std::int32_t lmrButtonType = 0;
  /// The screen to dismiss; cleared by the tap. Not kept by it, so that an element may be a part of its
  /// screen.
  std::weak_ptr<ViewController> lmrMessage;
  /// A link, the word "close", or nothing.
  std::optional<std::string> lmrAction;
};

/// Recognises taps on a view that is no button. The display layer attaches it to the view and tells it of
/// taps. Main thread only.
class LMRTapGestureRecognizer {
 public:
  using Action = std::function<void(LMRTapGestureRecognizer& recognizer)>;

  explicit LMRTapGestureRecognizer(Action action) : action_(std::move(action)) {}

  /// The view must outlive its attachment; null detaches.
  void attachTo(LMRTappable* view) noexcept { view_ = view; }
  LMRTappable* view() const noexcept { return view_; }
  void recognize() { action_(*this); }

 private:
  Action action_;
  LMRTappable* view_ = nullptr;
};

}  // namespace lumora
