#pragma once

#include <QDialog>
#include <QPointer>
#include <memory>
#include <string>
#include <utility>

#include "lumora/InApp/LMRInAppMessage.h"
#include "lumora/InApp/LMRInAppViewController.h"

/// A message as a dialog with its texts and its buttons. Shown → tapped → dismissed. From its appearance on
/// it is kept by the dialog: the library keeps no screens.
///
/// Made on any thread, as the layout resource's screens are, so its widgets are made when it appears.
class MessageScreen : public lumora::LMRInAppViewController {
 public:
  void setModalPresentationStyle(lumora::ModalPresentationStyle) override {}
  void presentViewController(std::shared_ptr<lumora::ViewController>, bool) override {}
  void dismiss(bool animated) override;
  void setInapp(std::shared_ptr<lumora::LMRInAppMessage> message) override { message_ = std::move(message); }

  void appear(QWidget* window);

 private:
  void tap(const std::string& element);

  std::shared_ptr<lumora::LMRInAppMessage> message_;
  QPointer<QDialog> dialog_;
};

/// The bottom screen of the application's window.
class WindowScreen : public lumora::ViewController {
 public:
  explicit WindowScreen(QWidget* window) : window_(window) {}

  void setModalPresentationStyle(lumora::ModalPresentationStyle) override {}
  void presentViewController(std::shared_ptr<lumora::ViewController> screen, bool animated) override;
  void dismiss(bool) override {}

 private:
  QPointer<QWidget> window_;
};

/// What makes the screens of messages.
class MessageLayout : public lumora::LayoutResource {
 public:
  std::shared_ptr<lumora::ViewController> instantiateViewController(std::string_view) override {
    return std::make_shared<MessageScreen>();
  }
};
