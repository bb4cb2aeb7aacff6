#pragma once

#include <functional>
#include <string>

#include "lumora/Platform/Alerts.h"
#include "lumora/Platform/Value.h"

class QDialog;
class QWidget;

/// Shows one of the library's alerts, without a loop of its own; a press answers it. Main thread only.
void showAlert(QWidget* parent, const lumora::Alert& alert);

/// Shows a message by its description: two texts and two buttons. `tap` is told the name of a part; closing
/// the dialog is a tap on the close button. Main thread only.
QDialog* showMessage(QWidget* parent, const lumora::Dictionary& description,
                     const std::function<void(const std::string& element)>& tap);
