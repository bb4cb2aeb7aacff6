// Where Qt meets the library: the main queue, the application's state, alerts, messages and links.
#include "Shop.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QUrl>
#include <QVBoxLayout>
#include <chrono>
#include <utility>

#include "Dialogs.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/LumoraObserver.h"
#include "lumora/Platform/Linux/LinuxApplication.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"

using lumora::ApplicationState;
using lumora::LifecycleNotification;
using lumora::Lumora;

namespace {

/// It is told on the main queue, which runs in this thread.
class Watcher : public lumora::LumoraObserver {
 public:
  explicit Watcher(Shop& shop) : shop_(shop) {}
  void initialized() override { shop_.openWaitingLink(); }

 private:
  Shop& shop_;
};

}  // namespace

// Messages and platform are kept until the process ends: the library uses them to the last moment.
Shop::Shop(const std::string& connectTo, const std::string& authorities)
    : messages_(*new lumora::MessageScreens(
          [this](auto message, const lumora::Dictionary& description) {
            showMessageDialog(message, description);
          },
          [this](auto message) { dismiss(message); })),
      platform_(*new lumora::LinuxPlatform(options(connectTo, authorities))),
      mainQueueHasWork_(platform_.mainQueue().descriptor(), QSocketNotifier::Read),
      createProfile_("Create my profile") {
  lumora::installPlatform(platform_.platform());
  Lumora::sharedInstance().setObserver(std::make_shared<Watcher>(*this));
  Lumora::sharedInstance().initializeWithTarrowID("acme", "s3cret");
  (new QVBoxLayout(this))->addWidget(&createProfile_);
  connect(&createProfile_, &QPushButton::clicked,
          [] { Lumora::sharedInstance().reportAction("profile_created"); });
  connect(&mainQueueHasWork_, &QSocketNotifier::activated, this,
          [this] { platform_.mainQueue().runPending(); });
  connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, &Shop::followState);
}

/// The application's session ends with its window. The alerts and messages of the platform are this object's,
/// so the library ends first: what was reported is stored, and goes out with the next run where this one had
/// no time for it.
Shop::~Shop() {
  enterBackground();
  Lumora::sharedInstance().shutdown(std::chrono::seconds(1));
}

lumora::LinuxPlatformOptions Shop::options(const std::string& connectTo, const std::string& authorities) {
  lumora::LinuxPlatformOptions options;
  options.info = {{"CFBundleIdentifier", "com.example.qt6"}, {"CFBundleShortVersionString", "1.0"}};
  options.connectTo = connectTo;
  options.certificateAuthorityFile = authorities;
  options.alertPresenter = [this](const lumora::Alert& alert) { showAlert(this, alert); };
  options.layoutLoader = [this](const std::string&) { return messages_.layout(); };
  options.rootViewController = [this] { return messages_.window(); };
  options.urlOpener = [](const lumora::URL& url) {
    return QDesktopServices::openUrl(QUrl(QString::fromStdString(url.absoluteString())));
  };
  return options;
}

void Shop::showMessageDialog(lumora::MessageScreens::MessageId message,
                             const lumora::Dictionary& description) {
  dialogs_[message] = showMessage(this, description, [this, message](const std::string& element) {
    // A message without a close button is closed by a tap on nothing.
    if (!messages_.tap(message, element)) dismiss(message);
  });
}

void Shop::dismiss(lumora::MessageScreens::MessageId message) {
  const QPointer<QDialog> dialog = dialogs_.take(message);
  if (!dialog) return;
  dialog->hide();
  dialog->deleteLater();  // it may be in its own button's click
}

/// A link can be there before the first configuration is: without that the library refuses every link.
void Shop::openLink(const std::string& link) {
  waitingLink_ = link;
  if (Lumora::sharedInstance().sdkInitialized()) openWaitingLink();
}

void Shop::openWaitingLink() {
  if (const auto url = lumora::URL::parse(std::exchange(waitingLink_, {}))) {
    Lumora::sharedInstance().applicationOpenURL(*url);
  }
}

/// Another application in front of this one is this one's background.
void Shop::followState(Qt::ApplicationState state) {
  if (state != Qt::ApplicationActive) {
    enterBackground();
  } else if (platform_.application().state() == ApplicationState::background) {
    platform_.application().setState(ApplicationState::active);
    platform_.application().post(LifecycleNotification::willEnterForeground);
  }
}

void Shop::enterBackground() {
  if (platform_.application().state() == ApplicationState::background) return;
  platform_.application().setState(ApplicationState::background);
  platform_.application().post(LifecycleNotification::didEnterBackground);
}
