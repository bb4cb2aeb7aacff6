#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lumora/Platform/Mutex.h"
#include "service/AccountsFile.h"

namespace lumora::service {

/// How the service is to go wrong for an account.
struct Misbehaviour {
  enum class Drop { never, before, after };

  /// `sync`, `report`, `test_device`, `assets` or `all`.
  std::string endpoint = "all";
  std::chrono::milliseconds delay{0};
  /// Sent instead of the answer's own.
  std::optional<int> status;
  /// Sent instead of doing what was asked for.
  std::optional<std::string> body;
  /// Announces more than it sends, then closes the connection.
  bool truncates = false;
  /// Closes the connection without an answer, before or after doing what was asked for.
  Drop drop = Drop::never;
  /// How often; without it for ever.
  std::optional<std::int64_t> times;
  /// How often it has been.
  std::int64_t strikes = 0;
  /// Its entry in the file.
  std::string entry;
};

/// One account, as it stands in the accounts file.
struct Account {
  std::string id;
  std::string secret;
  std::string accessKey;
  bool isInSecureMode = false;
  /// The answer of the sync endpoint and the tag that changes with it.
  std::string syncAnswer;
  std::string syncTag;
};

/// The accounts file. It is read again when it has changed; a file that is missing or not valid leaves what
/// was read before. What is wrong or odd about it is said on standard error, once per change. Any thread.
class Accounts {
 public:
  /// Reads the file.
  explicit Accounts(std::string file);

  /// The account, or null; identifiers are compared without regard to case, being part of a host name.
  std::shared_ptr<const Account> find(std::string_view id);

  /// The misbehaviour that is due for this request, which counts as one of its times.
  std::optional<Misbehaviour> takeMisbehaviour(const Account& account, std::string_view endpoint);
  /// What the service is to show, if the file says so.
  std::optional<CertificateKind> certificate();
  /// How often each of the account's has been taken since its entry stands in the file as it does.
  std::vector<std::int64_t> strikes(std::string_view id);

 private:
  struct FileState {
    std::int64_t inode = 0;
    std::int64_t size = -1;
    std::int64_t modifiedNanoseconds = 0;
    friend bool operator==(const FileState&, const FileState&) = default;
  };

  static FileState stateOf(const std::string& file);
  void readAgain() LUMORA_REQUIRES(mutex_);
  void take(const AccountsFile& content) LUMORA_REQUIRES(mutex_);

  const std::string file_;
  Mutex mutex_;
  std::optional<FileState> state_ LUMORA_GUARDED_BY(mutex_);
  std::map<std::string, std::shared_ptr<const Account>, std::less<>> accounts_ LUMORA_GUARDED_BY(mutex_);
  std::optional<CertificateKind> certificate_ LUMORA_GUARDED_BY(mutex_);
  std::map<std::string, std::vector<Misbehaviour>, std::less<>> misbehaviours_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::service
