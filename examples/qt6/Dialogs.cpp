// Alerts and messages as dialogs. Closing an alert answers it with its first button, so that no alert stays
// without an answer.
#include "Dialogs.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

void showAlert(QWidget* parent, const lumora::Alert& alert) {
  auto* const dialog = new QDialog(parent);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setWindowTitle(QString::fromStdString(alert.title));
  auto* const column = new QVBoxLayout(dialog);
  column->addWidget(new QLabel(QString::fromStdString(alert.message)));
  QLineEdit* field = nullptr;
  if (alert.textField) {
    field = new QLineEdit(QString::fromStdString(*alert.textField));
    column->addWidget(field);
  }
  auto* const row = new QHBoxLayout;
  column->addLayout(row);
  for (std::size_t i = 0; i < alert.buttons.size(); ++i) {
    auto* const button = new QPushButton(QString::fromStdString(alert.buttons[i]));
    const int index = static_cast<int>(i);
    QObject::connect(button, &QPushButton::clicked, dialog, [dialog, index] { dialog->done(index); });
    row->addWidget(button);
    button->setDefault(i + 1 == alert.buttons.size());
  }
  QObject::connect(dialog, &QDialog::finished, dialog, [alert, field](int index) {
    if (alert.onButton) alert.onButton(index, field ? field->text().toStdString() : "");
  });
  dialog->open();
}

QDialog* showMessage(QWidget* parent, const lumora::Dictionary& description,
                     const std::function<void(const std::string& element)>& tap) {
  auto* const dialog = new QDialog(parent);
  dialog->setObjectName("message");
  auto* const column = new QVBoxLayout(dialog);
  const lumora::Dictionary& elements = *lumora::findMap(description, "elements");
  for (const std::string name : {"primary_text", "secondary_text", "primary_button", "secondary_button"}) {
    const lumora::Dictionary* part = lumora::findMap(elements, name);
    if (!part) continue;
    const std::string* text = lumora::findText(*part, "text");
    const QString words = QString::fromStdString(text ? *text : name);
    if (part->contains("type")) {
      auto* const button = new QPushButton(words);
      QObject::connect(button, &QPushButton::clicked, dialog, [tap, name] { tap(name); });
      column->addWidget(button);
    } else {
      column->addWidget(new QLabel(words));
    }
  }
  QObject::connect(dialog, &QDialog::rejected, dialog, [tap] { tap("close_button"); });
  dialog->open();
  return dialog;
}
