// Messages as dialogs: what a part shows comes from its description, what a tap on it means from the library.
#include "MessageScreen.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "lumora/InApp/LMRInAppDescription.h"
#include "lumora/InApp/LMRInAppHandler.h"

void MessageScreen::appear(QWidget* window) {
  dialog_ = new QDialog(window);
  dialog_->setObjectName("message");
  QObject::connect(dialog_, &QObject::destroyed, [self = shared_from_this()] {});
  auto* const column = new QVBoxLayout(dialog_);
  const lumora::Dictionary description = lumora::describeInAppMessage(*message_);
  for (const char* name : {"primary_text", "secondary_text", "primary_button", "secondary_button"}) {
    const lumora::Dictionary* part = lumora::findMap(*lumora::findMap(description, "elements"), name);
    if (!part) continue;
    const std::string* text = lumora::findText(*part, "text");
    const QString words = QString::fromStdString(text ? *text : name);
    if (!part->contains("type")) {
      column->addWidget(new QLabel(words));
      continue;
    }
    auto* const button = new QPushButton(words);
    QObject::connect(button, &QPushButton::clicked, dialog_, [this, name] { tap(name); });
    column->addWidget(button);
  }
  QObject::connect(dialog_, &QDialog::rejected, dialog_, [this] { tap("close_button"); });
  dialog_->open();
}

void MessageScreen::tap(const std::string& element) {
  const auto self = shared_from_this();  // The tap takes this screen off the display.
  auto tapped = lumora::tappableElement(*message_, element, self);
  if (tapped) {
    lumora::LMRInAppHandler::sharedInstance().buttonAction(*tapped);
  } else {
    dismiss(false);  // A message without a close button: closing its window is no tap.
  }
}

void MessageScreen::dismiss(bool) {
  if (!dialog_) return;
  dialog_->hide();
  dialog_->deleteLater();
}

void WindowScreen::presentViewController(std::shared_ptr<lumora::ViewController> screen, bool) {
  std::static_pointer_cast<MessageScreen>(screen)->appear(window_);  // the layout makes no others
}
