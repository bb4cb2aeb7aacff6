#pragma once

#include <string>
#include <vector>

#include "lumora/InApp/MessageScreens.h"
#include "lumora/Platform/Alerts.h"
#include "lumora/Platform/Linux/LinuxPlatform.h"

/// The application: it does what the person types, and shows what the library asks it to. Main thread only.
class Shop {
 public:
  /// Installs the platform and starts the library. `connectTo` (HOST:PORT) and `authorities` (a PEM file)
  /// lead to a local service; both may be empty.
  Shop(const std::string& connectTo, const std::string& authorities);
  ~Shop();
  Shop(const Shop&) = delete;
  Shop& operator=(const Shop&) = delete;

  /// Lumora's main queue, to be run by the application's loop.
  lumora::LinuxMainQueue& mainQueue() { return platform_.mainQueue(); }

  /// One line of the person's; false when the application is to end.
  bool handleLine(const std::string& line);

 private:
  void enterBackground();
  void enterForeground();
  lumora::LinuxPlatformOptions options(const std::string& connectTo, const std::string& authorities);
  void show(lumora::Alert alert);
  void answer(int button, const std::string& text);

  std::vector<lumora::Alert> alerts_;
  lumora::MessageScreens& messages_;
  lumora::LinuxPlatform& platform_;
};
