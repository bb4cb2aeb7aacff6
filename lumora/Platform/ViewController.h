#pragma once

#include <memory>
#include <string_view>

#include "lumora/Platform/Export.h"

namespace lumora {

/// How a screen covers the one that presents it.
enum class ModalPresentationStyle : int { unset = 0, currentContext = 3, custom = 4 };

/// One screen of the host's display. Used on the main thread only, except where an operation says otherwise;
/// the library lets go of it on the main thread too. The display keeps its screens: nothing of the library's
/// does, once they are presented.
///
/// The host's window and its other screens derive from this; a screen that draws an in-app message derives
/// from `LMRInAppViewController`, or it is never told which one.
class LUMORA_EXPORT ViewController : public std::enable_shared_from_this<ViewController> {
 public:
  virtual ~ViewController() = default;
  virtual void setModalPresentationStyle(ModalPresentationStyle style) = 0;
  /// Shows another screen on top of this one and keeps it until it is dismissed.
  virtual void presentViewController(std::shared_ptr<ViewController> screen, bool animated) = 0;
  /// Takes this screen off the display; does nothing when it is not shown.
  virtual void dismiss(bool animated) = 0;
};

/// A loaded layout resource: it makes screens by their identifier.
class LUMORA_EXPORT LayoutResource {
 public:
  virtual ~LayoutResource() = default;
  /// A new screen, or null when the layout has none of that identifier. Any thread. For the identifiers of
  /// message screens it is an `LMRInAppViewController`.
  virtual std::shared_ptr<ViewController> instantiateViewController(std::string_view identifier) = 0;
};

}  // namespace lumora
