// Reads an accounts file with an eye on the person who wrote it: every oddity is named with its line, and
// costs no more than its own key. What the keys mean is Accounts' business.
#include "service/AccountsFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <span>
#include <stdexcept>

#include "lumora/Platform/ASCII.h"

namespace lumora::service {
namespace {

constexpr std::size_t kMaximumDepth = 512;

/// Goes through a text and counts its lines.
class LineCounter {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  LineCounter(const char* position, std::size_t* line) : position_(position), line_(line) {}
  reference operator*() const { return *position_; }
  LineCounter& operator++() {
    if (*position_++ == '\n') ++*line_;
    return *this;
  }
  friend bool operator==(const LineCounter& left, const LineCounter& right) {
    return left.position_ == right.position_;
  }
  friend bool operator!=(const LineCounter& left, const LineCounter& right) { return !(left == right); }

 private:
  const char* position_;
  std::size_t* line_;
};

bool isWholeNumber(const JSON& value, std::int64_t minimum, std::int64_t maximum) {
  if (value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX) return false;
  return value.is_number_integer() && value.get<std::int64_t>() >= minimum &&
         value.get<std::int64_t>() <= maximum;
}

bool isOneOf(const JSON& value, std::initializer_list<std::string_view> texts) {
  return value.is_string() && std::ranges::count(texts, value.get<std::string_view>()) > 0;
}

/// A key that is read, and which values it takes.
struct KnownKey {
  std::string_view name;
  bool (*takes)(const JSON& value);
  std::string_view wanted;
};

bool isAnything(const JSON& /*value*/) {
  return true;
}
bool isText(const JSON& value) {
  return value.is_string();
}
bool isFlag(const JSON& value) {
  return value.is_boolean();
}
bool isCount(const JSON& value) {
  return isWholeNumber(value, 0, 1'000'000'000);
}

bool isObjectOrListOfThem(const JSON& value) {
  return value.is_object() || (value.is_array() && std::ranges::all_of(value, [](const JSON& element) {
                                 return element.is_object();
                               }));
}

constexpr std::string_view kCountWanted = "a whole number from 0 to 1000000000";

constexpr KnownKey kFileKeys[] = {{"accounts", isAnything, ""},
                                  {"certificate",
                                   [](const JSON& value) {
                                     return value.is_string() &&
                                            certificateKindOf(value.get_ref<const std::string&>());
                                   },
                                   "good, expired, wrong-host or other-ca"}};

constexpr KnownKey kAccountKeys[] = {
    {"secret", [](const JSON& value) { return isText(value) && value != ""; }, "a text that is not empty"},
    {"access_key", isText, "a text"},
    {"blocked", isAnything, ""},
    {"lst", isAnything, ""},
    {"config", isAnything, ""},
    {"campaigns", isAnything, ""},
    {"misbehave", isObjectOrListOfThem, "an object or a list of objects"}};

/// The library reads no others; an answer may have any.
constexpr KnownKey kConfigKeys[] = {
    {"syncTimeOut", isAnything, ""}, {"secure_mode", isAnything, ""}, {"test_device", isAnything, ""}};

constexpr KnownKey kMisbehaviourKeys[] = {
    {"endpoint",
     [](const JSON& value) {
       return isOneOf(value, {"sync", "report", "test_device", "assets", "all"});
     },
     "sync, report, test_device, assets or all"},
    {"delay_ms", isCount, kCountWanted},
    {"status", [](const JSON& value) { return isWholeNumber(value, 200, 599); }, "a number from 200 to 599"},
    {"body", isAnything, ""},
    {"truncate", isFlag, "true or false"},
    {"drop",
     [](const JSON& value) {
       return isOneOf(value, {"before", "after"});
     },
     "before or after"},
    {"times", isCount, kCountWanted}};

/// Follows the parser through the file, notes what is odd, and drops values that their keys do not take.
class Checker {
 public:
  Checker(const std::size_t& line, std::vector<std::string>& notices) : line_(line), notices_(notices) {}

  /// The parser's callback: whether it is to keep the value.
  bool operator()(int depth, JSON::parse_event_t event, const JSON& parsed) {
    const auto level = static_cast<std::size_t>(depth);
    if (level > kMaximumDepth) throw std::runtime_error(at(line_) + "it is nested too deeply");
    if (event == JSON::parse_event_t::key) {
      enter(level, parsed.get<std::string>());
      return true;
    }
    const bool isWhole =
        event != JSON::parse_event_t::object_start && event != JSON::parse_event_t::array_start;
    return !isWhole || keeps(level, parsed);
  }

 private:
  struct Step {
    std::string key;
    std::size_t line = 0;
  };

  static std::string at(std::size_t line) { return fmt::format("line {}: ", line); }

  void enter(std::size_t level, std::string key) {
    path_.resize(level);
    path_.back() = {std::move(key), line_};
    const auto keys = keysOfLevel();
    if (level == 2 && isIn("accounts", 0)) {
      checkIdentifier();
    } else if (!keys.empty() && std::ranges::count(keys, path_.back().key, &KnownKey::name) == 0) {
      notice(fmt::format("unknown key \"{}\"; known are {}", path_.back().key, namesOf(keys)));
    }
  }

  /// The keys that the innermost object has; none where any are allowed.
  std::span<const KnownKey> keysOfLevel() const {
    const std::size_t level = path_.size();
    if (level == 1) return kFileKeys;
    if (!isIn("accounts", 0)) return {};
    if (level == 3) return kAccountKeys;
    if (level == 4 && isIn("config", 2)) return kConfigKeys;
    // An object by itself, or one in a list, which is a step without a key.
    const bool isMisbehaviour = level == 4 || (level == 5 && path_[3].key.empty());
    if (isMisbehaviour && isIn("misbehave", 2)) return kMisbehaviourKeys;
    return {};
  }

  bool isIn(std::string_view key, std::size_t step) const {
    return path_.size() > step && path_[step].key == key;
  }

  bool keeps(std::size_t level, const JSON& value) {
    if (level == 0 || level > path_.size()) return true;
    path_.resize(level);
    const Step& step = path_.back();
    if (level == 2 && isIn("accounts", 0)) return keepsAccount(value);
    for (const KnownKey& known : keysOfLevel()) {
      if (known.name != step.key || known.takes(value)) continue;
      notice(fmt::format("\"{}\" must be {}; it counts as left out", step.key, known.wanted));
      return false;
    }
    return true;
  }

  bool keepsAccount(const JSON& value) {
    if (!value.is_object()) {
      notice(fmt::format("the account \"{}\" must be an object; it counts as left out", path_.back().key));
    } else if (!value.contains("secret")) {
      notice(
          fmt::format("the account \"{}\" has no \"secret\", so every request is refused", path_.back().key));
    }
    return value.is_object();
  }

  void checkIdentifier() {
    const bool isLabel = std::ranges::all_of(
        path_.back().key, [](char c) { return isASCIILetter(c) || isASCIIDigit(c) || c == '-' || c == '_'; });
    if (!isLabel || path_.back().key.empty()) {
      notice(fmt::format("no host name begins with the account \"{}\"; letters, digits, \"-\" and \"_\" can",
                         path_.back().key));
    }
  }

  static std::string namesOf(std::span<const KnownKey> keys) {
    std::string names;
    for (const KnownKey& known : keys) names.append(names.empty() ? "" : ", ").append(known.name);
    return names;
  }

  void notice(const std::string& text) { notices_.push_back(at(path_.back().line) + text); }

  const std::size_t& line_;
  std::vector<std::string>& notices_;
  /// The keys that lead to where the parser is.
  std::vector<Step> path_;
};

/// "parse error at line 3, column 5: …", without the library's own number in front.
std::string reasonOf(const JSON::exception& error) {
  const std::string_view text = error.what();
  return std::string(text.substr(std::min(text.size(), text.find("] ") + 2)));
}

}  // namespace

AccountsFile parseAccountsFile(std::string_view text) {
  AccountsFile file;
  std::size_t line = 1;
  Checker checker(line, file.notices);
  JSON content;
  try {
    content = JSON::parse(LineCounter(text.data(), &line), LineCounter(text.data() + text.size(), &line),
                          [&](int depth, JSON::parse_event_t event, const JSON& parsed) {
                            return checker(depth, event, parsed);
                          });
  } catch (const JSON::exception& error) {
    throw std::runtime_error(reasonOf(error));
  }
  if (!content.is_object() || !content.contains("accounts") || !content["accounts"].is_object())
    throw std::runtime_error("it has no object \"accounts\"");
  file.accounts = std::move(content["accounts"]);
  if (content.contains("certificate"))
    file.certificate = certificateKindOf(content["certificate"].get_ref<const std::string&>());
  return file;
}

}  // namespace lumora::service
