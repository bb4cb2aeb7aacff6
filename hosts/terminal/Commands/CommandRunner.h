#pragma once

#include <string>
#include <string_view>

#include "hosts/terminal/Commands/Command.h"
#include "hosts/terminal/Output.h"

namespace lumora_host {

/// Carries out input lines and reports how each ended.
class CommandRunner {
 public:
  CommandRunner(Host& host, Output& output) : host_(host), output_(output) {}

  /// Skips empty lines and lines that begin with `#`. `number` counts the input's lines from 1.
  void run(const std::string& line, long number);
  /// Whether a line could not be carried out.
  bool hasFailed() const { return hasFailed_; }

 private:
  Host& host_;
  Output& output_;
  bool hasFailed_ = false;
};

}  // namespace lumora_host
