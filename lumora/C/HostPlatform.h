#pragma once

#include "lumora/C/lumora.h"
#include "lumora/Platform/Notifications.h"

namespace lumora::c {

/// Fails on any thread but the main one.
void requireMainThread();

/// A notification as the library knows it. Fails when a field is bad.
NotificationRequest notificationRequest(const lumora_notification* notification);

}  // namespace lumora::c
