// Lines for the system log, put together in one place for all kinds of arguments.
#include "lumora/Util/Log.h"

namespace lumora {

void writeLine(fmt::string_view format, fmt::format_args arguments) noexcept try {
  platform().log.write(fmt::vformat(format, arguments));
} catch (...) {
}

void writeTrace(TracePoint origin, fmt::string_view format, fmt::format_args arguments) noexcept try {
  std::string line = fmt::format("LumoraFramework-{} [Line {}] ", origin.operation, origin.line);
  line += fmt::vformat(format, arguments);
  platform().log.write(line);
} catch (...) {
}

}  // namespace lumora
