#pragma once

class Shop;

/// Uses the application as a person would, for a check without one: creates profiles until a message appears,
/// presses the first choice of every dialog, and closes the window after the message. Ends with status 1
/// after half a minute without a message.
void flyAlone(Shop& shop);
