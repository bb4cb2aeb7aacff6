#pragma once

#include "lumora/Platform/Alerts.h"

class QWidget;

/// Shows one of the library's alerts, without a loop of its own; a press answers it. Main thread only.
void showAlert(QWidget* parent, const lumora::Alert& alert);
