#include "lumora/InApp/LMRInAppMessage.h"
#include "lumora/Util/CompareVersions.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"

namespace lumora {

std::string LMRInAppMessage::containerView() const {
  if (notificationType_ >= 101 && notificationType_ <= 103) return "LMRInAppViewControllerPop";
  if (notificationType_ >= 104 && notificationType_ <= 106) return "LMRInAppViewControllerFull";
  return "";
}

void LMRInAppMessage::show() {
  const auto storyboard = LMRUtil::sharedInstance().getStoryboard();
  auto container = storyboard ? storyboard->instantiateViewController(containerView()) : nullptr;
  if (!container) return;
  container->setInapp(shared_from_this());
  auto previous = container;
  {
    Lock lock(viewControllerMutex_);
    inAppViewController_.swap(previous);
  }
  // The task has its own reference: the message may be shown again, on another thread, before it runs.
  platform().queues.mainQueue().async(
      [message = shared_from_this(), container = std::move(container)] { message->present(container); });
}

std::shared_ptr<ViewController> LMRInAppMessage::inAppViewController() const {
  Lock lock(viewControllerMutex_);
  return inAppViewController_;
}

void LMRInAppMessage::present(const std::shared_ptr<ViewController>& container) const {
  const auto root = platform().application.rootViewController();
  if (!root) return;
  logTrace({"-[LMRInAppMessage show]_block_invoke", 340}, "showing campaign {}", textOrNull(campaign_id_));
  if (compareVersions(platform().device.systemVersion(), "8") >= 0) {
    container->setModalPresentationStyle(ModalPresentationStyle::custom);
  } else {
    root->setModalPresentationStyle(ModalPresentationStyle::currentContext);
  }
  root->presentViewController(container, true);
}

}  // namespace lumora
