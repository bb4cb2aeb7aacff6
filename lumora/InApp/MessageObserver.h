#pragma once

#include <string>
#include <string_view>

namespace lumora {

/// Watches what becomes of campaigns. It is called on the thread that reads, shows or taps, which may hold
/// the handler's and the store's lock, so it only takes note.
class MessageObserver {
 public:
  virtual ~MessageObserver() = default;
  /// A campaign is bad, or lacks something; the part is the key, the layout or the picture that its line in
  /// the log names.
  virtual void campaignDropped(const std::string& campaignId, std::string_view part) = 0;
  /// Its screen was presented. Main thread.
  virtual void messageShown(const std::string& campaignId) = 0;
  /// A tap has taken its screen off the display. Main thread.
  virtual void messageDismissed(const std::string& campaignId) = 0;

  /// Who is told; null before anybody was named. It must live as long as the process.
  static MessageObserver* current() noexcept;
  static void setCurrent(MessageObserver& observer) noexcept;
};

}  // namespace lumora
