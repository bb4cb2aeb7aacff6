// The accounts as requests need them: read again when the file changes, with the sync answer made ready. What
// the file may hold is checked in AccountsFile.cpp, what is answered in Endpoints.cpp.
#include "service/Accounts.h"

#include <fmt/format.h>
#include <openssl/evp.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "lumora/Platform/ASCII.h"
#include "service/Files.h"

namespace lumora::service {
namespace {

std::string lowerCase(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = toASCIILower(c);
  return result;
}

/// The parser leaves what was not kept in its place, as discarded.
const JSON* member(const JSON& object, const char* name) {
  const auto found = object.find(name);
  return found == object.end() || found->is_discarded() ? nullptr : &*found;
}

std::string textMember(const JSON& object, const char* name) {
  const JSON* value = member(object, name);
  return value == nullptr ? std::string() : value->get<std::string>();
}

std::optional<std::int64_t> numberMember(const JSON& object, const char* name) {
  const JSON* value = member(object, name);
  return value == nullptr ? std::nullopt : std::optional(value->get<std::int64_t>());
}

bool flagMember(const JSON& object, const char* name) {
  const JSON* value = member(object, name);
  return value != nullptr && value->is_boolean() && value->get<bool>();
}

std::string quotedHash(std::string_view text) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
  unsigned int length = 0;
  EVP_Digest(text.data(), text.size(), digest.data(), &length, EVP_sha256(), nullptr);
  std::string result = "\"";
  for (unsigned int i = 0; i < 16; ++i) result += fmt::format("{:02x}", digest.at(i));
  return result + '"';
}

/// The account's own entries go out as they stand in the file, so that a developer can try any answer.
std::string syncAnswer(const JSON& source) {
  JSON answer{{"success", true}};
  for (const auto& [from, to] :
       {std::pair("blocked", "blocked"), {"lst", "lst"}, {"config", "config"}, {"campaigns", "inapp"}}) {
    if (const JSON* value = member(source, from)) answer[to] = *value;
  }
  return answer.dump();
}

Account accountFrom(const std::string& id, const JSON& source) {
  Account account;
  account.id = id;
  account.secret = textMember(source, "secret");
  account.accessKey = textMember(source, "access_key");
  if (const JSON* config = member(source, "config"))
    account.isInSecureMode = flagMember(*config, "secure_mode");
  account.syncAnswer = syncAnswer(source);
  account.syncTag = quotedHash(account.syncAnswer);
  return account;
}

Misbehaviour misbehaviourFrom(const JSON& source) {
  Misbehaviour result;
  if (const std::string endpoint = textMember(source, "endpoint"); !endpoint.empty())
    result.endpoint = endpoint;
  result.delay = std::chrono::milliseconds(numberMember(source, "delay_ms").value_or(0));
  if (const auto status = numberMember(source, "status")) result.status = static_cast<int>(*status);
  if (const JSON* body = member(source, "body"))
    result.body = body->is_string() ? body->get<std::string>() : body->dump();
  result.truncates = flagMember(source, "truncate");
  const std::string drop = textMember(source, "drop");
  if (drop == "before") result.drop = Misbehaviour::Drop::before;
  if (drop == "after") result.drop = Misbehaviour::Drop::after;
  result.times = numberMember(source, "times");
  result.entry = source.dump(-1, ' ', false, JSON::error_handler_t::replace);
  return result;
}

/// One misbehaviour stands by itself, several in a list.
std::vector<Misbehaviour> misbehavioursFrom(const JSON& account) {
  std::vector<Misbehaviour> result;
  const JSON* source = member(account, "misbehave");
  if (source == nullptr) return result;
  if (!source->is_array()) return {misbehaviourFrom(*source)};
  for (const JSON& element : *source) result.push_back(misbehaviourFrom(element));
  return result;
}

/// An entry that is still the same goes on counting, whatever else of the file was changed.
void carryOn(std::vector<Misbehaviour>& now, std::vector<Misbehaviour> before) {
  for (Misbehaviour& misbehaviour : now) {
    const auto same = std::ranges::find(before, misbehaviour.entry, &Misbehaviour::entry);
    if (same == before.end()) continue;
    misbehaviour = std::move(*same);
    before.erase(same);
  }
}

std::string contentOf(const std::string& file) {
  auto content = readFile(file);
  if (!content) throw std::runtime_error(std::string("it cannot be read: ") + std::strerror(errno));
  return std::move(*content);
}

}  // namespace

Accounts::Accounts(std::string file) : file_(std::move(file)) {
  const Lock lock(mutex_);
  readAgain();
}

Accounts::FileState Accounts::stateOf(const std::string& file) {
  struct stat status = {};
  if (::stat(file.c_str(), &status) != 0) return {};
  constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
  return {static_cast<std::int64_t>(status.st_ino), status.st_size,
          status.st_mtim.tv_sec * nanosecondsPerSecond + status.st_mtim.tv_nsec};
}

void Accounts::readAgain() {
  const FileState state = stateOf(file_);
  if (state == state_) return;
  state_ = state;
  try {
    const AccountsFile content = parseAccountsFile(contentOf(file_));
    for (const std::string& notice : content.notices) std::cerr << file_ << ": " << notice << '\n';
    take(content);
  } catch (const std::runtime_error& error) {
    std::cerr << file_ << ": " << error.what() << "; "
              << (accounts_.empty() ? "there are no accounts until it is mended; --help shows one\n"
                                    : "the accounts stay as they were\n");
  }
}

void Accounts::take(const AccountsFile& content) {
  certificate_ = content.certificate;
  accounts_.clear();
  auto before = std::exchange(misbehaviours_, {});
  for (const auto& [id, source] : content.accounts.items()) {
    if (!source.is_object()) continue;
    // Of two identifiers that differ by case alone the later one holds: host names have no case.
    accounts_[lowerCase(id)] = std::make_shared<const Account>(accountFrom(id, source));
    misbehaviours_[id] = misbehavioursFrom(source);
    carryOn(misbehaviours_[id], std::move(before[id]));
  }
}

std::shared_ptr<const Account> Accounts::find(std::string_view id) {
  const Lock lock(mutex_);
  readAgain();
  const auto found = accounts_.find(lowerCase(id));
  return found == accounts_.end() ? nullptr : found->second;
}

std::optional<Misbehaviour> Accounts::takeMisbehaviour(const Account& account, std::string_view endpoint) {
  const Lock lock(mutex_);
  for (Misbehaviour& misbehaviour : misbehaviours_[account.id]) {
    if (misbehaviour.endpoint != "all" && misbehaviour.endpoint != endpoint) continue;
    if (misbehaviour.times && (*misbehaviour.times)-- <= 0) {
      misbehaviour.times = 0;
      continue;
    }
    ++misbehaviour.strikes;
    return misbehaviour;
  }
  return std::nullopt;
}

std::optional<CertificateKind> Accounts::certificate() {
  const Lock lock(mutex_);
  readAgain();
  return certificate_;
}

std::vector<std::int64_t> Accounts::strikes(std::string_view id) {
  const auto account = find(id);
  std::vector<std::int64_t> result;
  const Lock lock(mutex_);
  const auto found = account ? misbehaviours_.find(account->id) : misbehaviours_.end();
  if (found == misbehaviours_.end()) return result;
  for (const Misbehaviour& misbehaviour : found->second) result.push_back(misbehaviour.strikes);
  return result;
}

}  // namespace lumora::service
