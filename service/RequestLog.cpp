// Each request as a line for people and as one for programs. What is recorded of a request is put together in
// Service.cpp.
#include "service/RequestLog.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>

namespace lumora::service {
namespace {

using JSON = nlohmann::ordered_json;

/// A client must not be able to send commands to the terminal.
std::string printable(std::string text) {
  for (char& c : text) {
    if (c < ' ' || c > '~') c = '?';
  }
  return text;
}

std::string orDash(const std::string& text) {
  return text.empty() ? "-" : printable(text);
}

std::string localTime(std::chrono::system_clock::time_point time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm parts = {};
  ::localtime_r(&seconds, &parts);
  return fmt::format("{:02}:{:02}:{:02}", parts.tm_hour, parts.tm_min, parts.tm_sec);
}

std::string statusText(int status, bool isColoured) {
  const std::string text = status == 0 ? "no answer" : std::to_string(status);
  if (!isColoured) return text;
  constexpr std::string_view green = "\x1b[32m";
  constexpr std::string_view yellow = "\x1b[33m";
  constexpr std::string_view red = "\x1b[31m";
  const std::string_view colour = status >= 200 && status < 300   ? green
                                  : status >= 300 && status < 400 ? yellow
                                                                  : red;
  return fmt::format("{}{}\x1b[0m", colour, text);
}

std::string lineOf(const RequestRecord& record, bool isColoured) {
  const std::string events =
      record.events ? fmt::format("  {} event{}", *record.events, *record.events == 1 ? "" : "s") : "";
  const std::string refusal = record.refusal.empty() ? "" : "  " + printable(record.refusal);
  return fmt::format("{}  {} {}  {}{}  {}{}\n", localTime(record.time), orDash(record.method),
                     orDash(record.path), orDash(record.account), events,
                     statusText(record.status, isColoured), refusal);
}

std::string jsonOf(const RequestRecord& record) {
  JSON headers = JSON::array();
  for (const auto& [name, value] : record.headers) headers.push_back(JSON::array({name, value}));
  const JSON object{
      {"time", std::chrono::duration<double>(record.time.time_since_epoch()).count()},
      {"method", record.method},
      {"path", record.path},
      {"query", record.query},
      {"account", record.account},
      {"headers", std::move(headers)},
      {"body_size", record.bodySize},
      {"status", record.status == 0 ? JSON() : JSON(record.status)},
      {"events", record.events ? JSON(*record.events) : JSON()},
      {"refusal", record.refusal.empty() ? JSON() : JSON(record.refusal)},
  };
  return object.dump(-1, ' ', false, JSON::error_handler_t::replace) + '\n';
}

}  // namespace

RequestLog::RequestLog(const std::string& jsonFile) : isColoured_(::isatty(STDOUT_FILENO) == 1) {
  if (jsonFile.empty()) return;
  const Lock lock(mutex_);
  json_.open(jsonFile, std::ios::app);
  if (!json_)
    throw std::runtime_error("The file " + jsonFile + " cannot be written: " + std::strerror(errno) + '.');
}

void RequestLog::write(const RequestRecord& record) {
  const std::string line = lineOf(record, isColoured_);
  const Lock lock(mutex_);
  std::fputs(line.c_str(), stdout);
  std::fflush(stdout);
  if (json_.is_open()) json_ << jsonOf(record) << std::flush;
}

}  // namespace lumora::service
