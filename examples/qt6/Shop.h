#pragma once

#include <QDialog>
#include <QMap>
#include <QPointer>
#include <QPushButton>
#include <QSocketNotifier>
#include <QWidget>
#include <string>

#include "lumora/InApp/MessageScreens.h"
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
  /// The library takes links from now on.
  void openWaitingLink();
  QPushButton& createProfile() { return createProfile_; }

 private:
  lumora::LinuxPlatformOptions options(const std::string& connectTo, const std::string& authorities);
  void showMessageDialog(lumora::MessageScreens::MessageId message, const lumora::Dictionary& description);
  void dismiss(lumora::MessageScreens::MessageId message);
  void followState(Qt::ApplicationState state);
  void enterBackground();

  QMap<lumora::MessageScreens::MessageId, QPointer<QDialog>> dialogs_;
  lumora::MessageScreens& messages_;
  lumora::LinuxPlatform& platform_;
  QSocketNotifier mainQueueHasWork_;
  QPushButton createProfile_;
  std::string waitingLink_;
};
