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
  inAppViewController_ = std::move(container);
  platform().queues.mainQueue().async([message = shared_from_this()] { message->present(); });
}

void LMRInAppMessage::present() const {
  const auto root = platform().application.rootViewController();
  if (!root) return;
  logTrace({"-[LMRInAppMessage show]_block_invoke", 340}, "showing campaign {}", textOrNull(campaign_id_));
  if (compareVersions(platform().device.systemVersion(), "8") >= 0) {
    inAppViewController_->setModalPresentationStyle(ModalPresentationStyle::custom);
  } else {
    root->setModalPresentationStyle(ModalPresentationStyle::currentContext);
  }
  root->presentViewController(inAppViewController_, true);
}

}  // namespace lumora
