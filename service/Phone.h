#pragma once

#include <deque>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lumora/Platform/Mutex.h"
#include "service/HostProcess.h"
#include "service/LiveFeed.h"
#include "service/PhoneSettings.h"

namespace lumora::service {

/// A command's words; one that is absent is the host's `nil`.
using CommandWords = std::vector<std::optional<std::string>>;

/// Where phones find what they need.
struct PhoneWorld {
  std::string hostProgram;
  std::string address;
  std::string authorityFile;
  LiveFeed& feed;
};

/// One phone: a terminal host with folders of its own, which is driven by its commands. What it shows is read
/// from its output and told to the feed. Any thread.
class Phone {
 public:
  Phone(PhoneSettings settings, std::string directory, const PhoneWorld& world);

  PhoneSettings settings() const;
  /// All that there is to see of it, apart from the message on screen and the log.
  JSON description() const;
  /// The message on screen, with its pictures; null when there is none.
  JSON screen() const;
  /// The log's lines after the one of that number.
  JSON log(std::uint64_t after);
  /// How many events wait in its database, and how they are kept.
  JSON storage() const;

  /// Starts the host if it does not run, and initialises the library. Throws std::runtime_error.
  void launch(const std::string& account, const std::string& secret,
              const std::optional<std::string>& launchOptions);
  void kill();
  /// Lets the host end as an application that is closed.
  void quit();
  void setVersion(const std::string& version, const std::string& build);
  /// Removes the application's data; what is in the keychain stays.
  void removeData();

  /// Runs a command, and gives what the host answered: an object with "done" and maybe "result", with
  /// "error", or with "pending" when it takes longer than ten seconds. Throws std::runtime_error when it
  /// cannot be sent.
  JSON run(const CommandWords& words);

 private:
  struct Pending {
    CommandWords words;
    /// The alert on top when the command was sent, which is the one that it answers.
    std::uint64_t alert = 0;
    std::promise<JSON> answer;
  };
  struct LogLine {
    std::uint64_t number;
    std::string text;
  };

  void take(const std::string& line);
  void takeOutput(const JSON& output) LUMORA_REQUIRES(mutex_);
  void takeAnswer(const JSON& answer) LUMORA_REQUIRES(mutex_);
  void noteEffect(const Pending& pending, const JSON& result) LUMORA_REQUIRES(mutex_);
  void forgetAlert(std::uint64_t number) LUMORA_REQUIRES(mutex_);
  void takeLog(std::string line);
  void takeEnd(int status, int signal);
  void start();
  std::shared_ptr<HostProcess> takeProcess();
  std::vector<std::string> commandLine() const LUMORA_REQUIRES(mutex_);
  JSON describe() const LUMORA_REQUIRES(mutex_);
  /// Only when something has changed since it was told last.
  void tellState() LUMORA_REQUIRES(mutex_);

  const std::string directory_;
  const PhoneWorld& world_;
  /// Held while the application is started or ended.
  Mutex lifeMutex_;
  /// Held from a command's entry in the list to the last byte of its line, so that answers meet their
  /// commands.
  Mutex sendMutex_;
  mutable Mutex mutex_;
  PhoneSettings settings_ LUMORA_GUARDED_BY(mutex_);
  std::deque<std::shared_ptr<Pending>> pending_ LUMORA_GUARDED_BY(mutex_);
  /// What is seen on the screen, by the names of the description.
  JSON seen_ LUMORA_GUARDED_BY(mutex_);
  JSON screen_ LUMORA_GUARDED_BY(mutex_);
  JSON told_ LUMORA_GUARDED_BY(mutex_);
  std::deque<LogLine> log_ LUMORA_GUARDED_BY(mutex_);
  std::uint64_t lastLogLine_ LUMORA_GUARDED_BY(mutex_) = 0;
  bool isLogTold_ LUMORA_GUARDED_BY(mutex_) = false;
  std::uint64_t lastNumber_ LUMORA_GUARDED_BY(mutex_) = 0;
  /// Last, so that it ends before what its lines change.
  std::shared_ptr<HostProcess> process_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::service
