// A phone's process and commands. What its output says is taken in PhoneOutput.cpp.
#include "service/Phone.h"

#include <fmt/format.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <filesystem>
#include <stdexcept>
#include <utility>

namespace lumora::service {
namespace {

constexpr std::chrono::seconds kCommandPatience{10};
constexpr std::size_t kLongestCommand = 4U * 1024 * 1024;

/// As the host's shell words read it.
std::string quoted(const std::optional<std::string>& word) {
  if (!word) return "nil";
  std::string result = "'";
  for (const char c : *word) {
    if (c == '\'')
      result += "'\"'\"'";
    else
      result += c;
  }
  return result + '\'';
}

std::string lineOf(const CommandWords& words) {
  std::string line;
  for (const auto& word : words) {
    if (word && word->find_first_of(std::string_view("\n\r\0", 3)) != std::string::npos)
      throw std::runtime_error("A command is one line of text.");
    if (!line.empty()) line += ' ';
    line += quoted(word);
  }
  if (line.empty() || line.size() > kLongestCommand)
    throw std::runtime_error("A command has 1 byte to 4 MiB.");
  return line;
}

}  // namespace

Phone::Phone(PhoneSettings settings, std::string directory, const PhoneWorld& world)
    : directory_(std::move(directory)), world_(world), settings_(std::move(settings)) {
  ::mkdir(directory_.c_str(), 0700);
  const Lock lock(mutex_);
  seen_ = {{"status", "ended"}};
}

PhoneSettings Phone::settings() const {
  const Lock lock(mutex_);
  return settings_;
}

std::vector<std::string> Phone::commandLine() const {
  return {world_.hostProgram,       "--data",           directory_ + "/app",     "--keychain",
          directory_ + "/keychain", "--connect",        world_.address,          "--ca",
          world_.authorityFile,     "--device-name",    settings_.name,          "--model",
          settings_.model,          "--system-version", settings_.systemVersion, "--app-version",
          settings_.version,        "--build",          settings_.build};
}

void Phone::launch(const std::string& account, const std::string& secret,
                   const std::optional<std::string>& launchOptions) {
  const Lock life(lifeMutex_);
  {
    const Lock lock(mutex_);
    if (process_ && !process_->hasEnded()) throw std::runtime_error("The phone's application runs already.");
    settings_.account = account;
  }
  start();
  const PhoneSettings now = settings();
  if (now.ahead > 0) run({"advance", fmt::format("{:.3f}", now.ahead)});
  if (!now.isOnline) run({"network", "offline"});
  CommandWords init{"init", account, secret};
  if (launchOptions) init.emplace_back(*launchOptions);
  run(init);
  run({"device-id"});
  run({"push-token"});
}

void Phone::start() {
  // What is left of the last one ends before anything of the next is seen.
  takeProcess();
  const Lock lock(mutex_);
  seen_ = {{"status", "running"},
           {"state", "active"},
           {"alerts", JSON::array()},
           {"notifications", JSON::array()},
           {"opened", JSON::array()}};
  screen_ = nullptr;
  process_ = std::make_shared<HostProcess>(
      commandLine(), HostProcess::Listener{[this](const std::string& line) { take(line); },
                                           [this](std::string line) { takeLog(std::move(line)); },
                                           [this](int status, int signal) { takeEnd(status, signal); }});
  tellState();
}

/// Its threads take the lock, so whoever lets go of the process must not hold it.
std::shared_ptr<HostProcess> Phone::takeProcess() {
  const Lock lock(mutex_);
  return std::exchange(process_, nullptr);
}

void Phone::kill() {
  const Lock life(lifeMutex_);
  takeProcess();
}

void Phone::quit() {
  const Lock life(lifeMutex_);
  const auto process = takeProcess();
  if (!process) return;
  process->closeInput();
  process->waitForEnd(kCommandPatience);
}

void Phone::setVersion(const std::string& version, const std::string& build) {
  const Lock lock(mutex_);
  settings_.version = version;
  settings_.build = build;
  tellState();
}

void Phone::removeData() {
  std::error_code error;
  std::filesystem::remove_all(directory_ + "/app", error);
  if (error) throw std::runtime_error("The application's data cannot be removed: " + error.message() + '.');
}

JSON Phone::run(const CommandWords& words) {
  const std::string line = lineOf(words);
  const auto pending = std::make_shared<Pending>();
  pending->words = words;
  auto answer = pending->answer.get_future();
  {
    const Lock sending(sendMutex_);
    std::shared_ptr<HostProcess> process;
    {
      const Lock lock(mutex_);
      if (!process_ || process_->hasEnded()) return {{"error", "The phone's application does not run."}};
      process = process_;
      if (!seen_["alerts"].empty()) pending->alert = seen_["alerts"].back().value("n", std::uint64_t{0});
      pending_.push_back(pending);
    }
    if (!process->write(line)) return {{"error", "The phone's application has ended."}};
  }
  if (answer.wait_for(kCommandPatience) != std::future_status::ready) return {{"pending", true}};
  return answer.get();
}

JSON Phone::storage() const {
  const std::string file = directory_ + "/app/Documents/ostrelab.sqlite";
  sqlite3* database = nullptr;
  const int opened = sqlite3_open_v2(file.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr);
  const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> closing(database, sqlite3_close);
  if (opened != SQLITE_OK) return {{"waiting", nullptr}};
  sqlite3_busy_timeout(database, 500);
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v2(database, "SELECT COUNT(*) FROM ostrel_events", -1, &statement, nullptr);
  const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> finishing(statement, sqlite3_finalize);
  if (statement == nullptr || sqlite3_step(statement) != SQLITE_ROW) return {{"waiting", nullptr}};
  return {{"waiting", sqlite3_column_int64(statement, 0)}};
}

}  // namespace lumora::service
