#pragma once

#include <functional>
#include <string_view>
#include <variant>

namespace lumora {

/// Which lines the Linux platform's log holds.
enum class LogDetail {
  /// What the host's developer should know: lines that begin with "LumoraSDK-", and alerts that nobody shows.
  /// None of them holds a secret, a token, an identifier of the device or the person, a payload, or a value
  /// that the host recorded: a developer's line with such a value counts as a trace line. What the
  /// service itself says is passed on as it is, unless there is an address or a query in it.
  forDevelopers,
  /// Every line, also those that hold what people entered, their identifiers and the account's secret. For a
  /// developer's own machine only. The environment variable `LUMORA_LOG=trace` has the same effect, save in
  /// a program that runs with more rights than its user.
  trace,
};

/// Where the log's lines go.
enum class LogDestination {
  /// Standard error, one line each; on a terminal with the time, and with colours unless `NO_COLOR` asks for
  /// none. A reader who takes no more is waited for a tenth of a second once, then the lines are lost until
  /// he takes some; a line tells how many.
  standardError,
  /// The same, but always the bare lines, and a reader is waited for as long as it takes. For a program whose
  /// own output the lines are.
  bareStandardError,
  /// The system's log by `/dev/log`, with the facility "user", under the program's name; messages are cut at
  /// 8 KiB.
  syslog,
  /// The systemd journal by its socket. Beside the message the fields are `PRIORITY` (6, or 7 for a trace
  /// line), `SYSLOG_IDENTIFIER` (the program's name), `LUMORA_LINE` ("developer" or "trace"), and for a trace
  /// line `CODE_FUNC` and `CODE_LINE`.
  journal,
};

/// A destination, or a function of the host's that receives each message without a line feed.
///
/// `syslog` and `journal` never wait: a line that they do not take is lost, and a later line tells how many.
/// Where there is no such log at all, in a container for example, standard error is written instead.
///
/// The function receives what `LogDetail` lets through. It is called on any thread, also while the library
/// holds its locks, so it must not call back into the library, throw, or take long. It is not called any
/// more once the process is ending; what is left to tell then goes to standard error. A function that calls
/// `exit` loses what waits in the queue of the thread that it was called on. An empty function means
/// `LogDestination::standardError`.
using LogSink = std::variant<LogDestination, std::function<void(std::string_view message)>>;

}  // namespace lumora
