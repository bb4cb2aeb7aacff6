#pragma once

#include <QPushButton>
#include <QSocketNotifier>
#include <QWidget>
#include <memory>
#include <string>

#include "MessageScreen.h"
#include "lumora/Platform/Linux/LinuxPlatform.h"

/// The application's window, and Lumora in it. Main thread only.
class Shop : public QWidget {
 public:
  /// Installs the platform and starts the library. `connectTo` (HOST:PORT) and `authorities` (a PEM file)
  /// lead to a local service; both may be empty.
  Shop(const std::string& connectTo, const std::string& authorities);
  ~Shop() override;

  /// The system has opened a link in this application.
  void openLink(const std::string& link);
  QPushButton& createProfile() { return createProfile_; }

 private:
  lumora::LinuxPlatformOptions options(const std::string& connectTo, const std::string& authorities);
  void followState(Qt::ApplicationState state);
  void enterBackground();

  const std::shared_ptr<WindowScreen> screen_;
  lumora::LinuxPlatform& platform_;
  QSocketNotifier mainQueueHasWork_;
  QPushButton createProfile_;
};
