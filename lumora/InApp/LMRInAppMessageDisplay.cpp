// A message on its way to the screen: the container is made on the thread that recorded the event and
// presented on the main queue. Screens and their layouts are the host's (LMRInAppViewController.h).
#include <utility>

#include "lumora/InApp/LMRInAppMessage.h"
#include "lumora/InApp/LMRInAppViewController.h"
#include "lumora/InApp/MessageObserver.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/CompareVersions.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"

namespace lumora {
namespace {

/// The same screen behind a reference that is let go of on the main queue, whichever thread drops it: a
/// screen is the display's, and ends where the display lives.
std::shared_ptr<ViewController> endingOnMainQueue(std::shared_ptr<ViewController> screen) {
  if (!screen) return nullptr;
  ViewController* const view = screen.get();
  return {view, [screen = std::move(screen)](ViewController*) mutable {
            TaskQueues& queues = platform().queues;
            if (queues.isMainThread()) {
              screen.reset();
            } else {
              queues.mainQueue().async([last = std::move(screen)]() mutable { last.reset(); });
            }
          }};
}

}  // namespace

std::string LMRInAppMessage::containerView() const {
  if (notificationType_ >= 101 && notificationType_ <= 103) return "LMRInAppViewControllerPop";
  if (notificationType_ >= 104 && notificationType_ <= 106) return "LMRInAppViewControllerFull";
  return "";
}

void LMRInAppMessage::show() {
  const auto storyboard = LMRUtil::sharedInstance().getStoryboard();
  auto screen = storyboard ? storyboard->instantiateViewController(containerView()) : nullptr;
  if (!screen) return;
  {
    Lock lock(viewControllerMutex_);
    inAppViewController_ = screen;
  }
  auto container = endingOnMainQueue(std::move(screen));
  if (auto* const drawn = dynamic_cast<LMRInAppViewController*>(container.get()))
    drawn->setInapp(shared_from_this());
  // Until the display has the screen, the task alone keeps it.
  platform().queues.mainQueue().async(
      [message = shared_from_this(), container = std::move(container)] { message->present(container); });
}

std::shared_ptr<ViewController> LMRInAppMessage::inAppViewController() const {
  std::shared_ptr<ViewController> screen;
  {
    Lock lock(viewControllerMutex_);
    screen = inAppViewController_.lock();
  }
  return endingOnMainQueue(std::move(screen));
}

void LMRInAppMessage::present(const std::shared_ptr<ViewController>& container) const {
  if (!CallGate::isOpen()) return;
  const auto root = platform().application.rootViewController();
  // The handler counts the message as shown all the same.
  if (!root) return;
  logTrace({"-[LMRInAppMessage show]_block_invoke", 340}, "showing campaign {}", textOrNull(campaign_id_));
  if (compareVersions(platform().device.systemVersion(), "8") >= 0) {
    container->setModalPresentationStyle(ModalPresentationStyle::custom);
  } else {
    root->setModalPresentationStyle(ModalPresentationStyle::currentContext);
  }
  root->presentViewController(container, true);
  if (MessageObserver* const observer = MessageObserver::current())
    observer->messageShown(campaign_id_.value_or(""));
}

}  // namespace lumora
