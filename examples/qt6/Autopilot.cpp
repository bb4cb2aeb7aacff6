// A timer in a person's place.
#include "Autopilot.h"

#include <QApplication>
#include <QTimer>
#include <cstdio>
#include <cstdlib>

#include "Shop.h"

namespace {

/// The button that Enter would press.
QPushButton* choiceOf(const QWidget& dialog) {
  for (QPushButton* button : dialog.findChildren<QPushButton*>()) {
    if (button->isDefault()) return button;
  }
  return dialog.findChild<QPushButton*>();
}

}  // namespace

void flyAlone(Shop& shop) {
  auto* const step = new QTimer(&shop);
  QObject::connect(step, &QTimer::timeout, &shop, [&shop] {
    const QWidget* const dialog = QApplication::activeModalWidget();
    if (!dialog) return shop.createProfile().click();
    const bool isMessage = dialog->objectName() == "message";
    QPushButton* const choice = choiceOf(*dialog);
    std::printf("%s: %s\n", isMessage ? "message" : "alert", qUtf8Printable(choice->text()));
    choice->click();
    if (isMessage) shop.close();
  });
  step->start(500);
  QTimer::singleShot(30000, &shop, [] { QApplication::exit(EXIT_FAILURE); });
}
