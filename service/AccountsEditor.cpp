// Edits the accounts file for the studio. What the entries mean is Accounts' business, what is odd about them
// AccountsFile's.
#include "service/AccountsEditor.h"

#include <fmt/format.h>
#include <openssl/evp.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <utility>

#include "service/Files.h"

namespace lumora::service {
namespace {

std::string revisionOf(std::string_view content) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
  EVP_Digest(content.data(), content.size(), digest.data(), nullptr, EVP_sha256(), nullptr);
  std::string text;
  for (std::size_t i = 0; i < 16; ++i) text += fmt::format("{:02x}", digest.at(i));
  return text;
}

/// One step on a path: the entry of that key or index, made when `isMade` and missing.
JSON* stepInto(JSON& value, const JSON& key, bool isMade) {
  if (key.is_string() && (value.is_object() || (isMade && value.is_null()))) {
    const auto name = key.get<std::string>();
    return isMade || value.contains(name) ? &value[name] : nullptr;
  }
  if (!key.is_number_unsigned() || !(value.is_array() || (isMade && value.is_null()))) return nullptr;
  const auto index = key.get<std::size_t>();
  const std::size_t end = value.is_null() ? 0 : value.size();
  if (index > end || (index == end && !isMade)) return nullptr;
  return &value[index];
}

void removeEntry(JSON& parent, const JSON& key) {
  if (parent.is_object() && key.is_string()) {
    parent.erase(key.get<std::string>());
  } else if (parent.is_array() && key.is_number_unsigned() && key.get<std::size_t>() < parent.size()) {
    parent.erase(key.get<std::size_t>());
  }
}

/// Throws std::runtime_error when the path leads nowhere.
void apply(JSON& content, const JSON& change) {
  const JSON& path = change.at("path");
  if (!path.is_array() || path.empty()) throw std::runtime_error("A change needs a path.");
  const bool isSet = change.contains("value");
  JSON* place = &content;
  for (std::size_t i = 0; i + 1 < path.size() && place != nullptr; ++i)
    place = stepInto(*place, path[i], isSet);
  JSON* const entry = place != nullptr && isSet ? stepInto(*place, path.back(), true) : nullptr;
  if (isSet && entry == nullptr) throw std::runtime_error("There is no place for " + path.dump() + '.');
  if (isSet) {
    *entry = change["value"];
  } else if (place != nullptr) {
    removeEntry(*place, path.back());
  }
}

JSON parsed(const std::optional<std::string>& content) {
  if (!content) return {{"error", "There is no such file, or it cannot be read."}};
  try {
    const AccountsFile file = parseAccountsFile(*content);
    // As it stands in the file: the parser leaves out what its keys do not take.
    return {{"notices", file.notices}, {"accounts", JSON::parse(*content).at("accounts")}};
  } catch (const std::exception& error) {
    return {{"error", error.what()}};
  }
}

}  // namespace

JSON AccountsEditor::read() const {
  const auto content = readFile(file_);
  const std::string revision = content ? revisionOf(*content) : "";
  const Lock lock(lastMutex_);
  // A large file takes its time to parse, and is asked for often.
  if (!last_.is_null() && last_["revision"] == revision) return last_;
  JSON result{{"file", file_}, {"revision", revision}};
  result.update(parsed(content));
  if (!result.contains("accounts") && last_.contains("accounts")) result["accounts"] = last_["accounts"];
  return last_ = std::move(result);
}

AccountsEditor::Outcome AccountsEditor::change(const std::string& revision, const JSON& changes) {
  const Lock lock(mutex_);
  const auto content = readFile(file_);
  // A file that is not there yet has no revision.
  if ((content ? revisionOf(*content) : "") != revision) {
    return {Outcome::changedMeanwhile, "The file was changed meanwhile; what stands in it holds."};
  }
  try {
    // Says what is wrong in its words.
    if (content) parseAccountsFile(*content);
    JSON edited = content ? JSON::parse(*content) : JSON{{"accounts", JSON::object()}};
    for (const JSON& change : changes) apply(edited, change);
    const std::string text = edited.dump(2) + '\n';
    parseAccountsFile(text);
    std::error_code error;
    const auto target = std::filesystem::weakly_canonical(file_, error);
    writePrivateFile(error ? file_ : target.string(), text);
  } catch (const std::exception& error) {
    return {Outcome::refused, error.what()};
  }
  return {};
}

std::string AccountsEditor::secretOf(const std::string& account) const {
  const JSON file = read();
  const JSON::json_pointer secret = JSON::json_pointer() / "accounts" / account / "secret";
  return file.contains(secret) && file[secret].is_string() ? file[secret].get<std::string>() : std::string();
}

std::string AccountsEditor::stamp() const {
  struct stat status = {};
  if (::stat(file_.c_str(), &status) != 0) return {};
  return fmt::format("{}.{}.{}.{}", status.st_ino, status.st_size, status.st_mtim.tv_sec,
                     status.st_mtim.tv_nsec);
}

}  // namespace lumora::service
