// The host's information and resources, with an identifier and versions from the start: without a version no
// initialisation succeeds.
#include "lumora/Testing/FakeBundle.h"

#include <utility>

namespace lumora::testing {
namespace {

using Texts = std::map<std::string, std::string, std::less<>>;

std::optional<std::string> lookUp(const Texts& texts, std::string_view key) {
  const auto entry = texts.find(key);
  if (entry == texts.end()) return std::nullopt;
  return entry->second;
}

void setOrRemove(Texts& texts, std::string_view key, std::optional<std::string> value) {
  texts.erase(std::string(key));
  if (value) texts.emplace(key, std::move(*value));
}

std::string joined(std::string_view first, char separator, std::string_view second) {
  return std::string(first) + separator + std::string(second);
}

}  // namespace

FakeBundle::FakeBundle() {
  info_.emplace(kBundleIdentifierKey, "com.example.host");
  info_.emplace(kBundleShortVersionKey, "1.0");
  info_.emplace(kBundleVersionKey, "1");
}

std::optional<std::string> FakeBundle::infoValue(std::string_view key) {
  Lock lock(mutex_);
  return lookUp(info_, key);
}

std::optional<std::string> FakeBundle::pathForResource(std::string_view name, std::string_view type) {
  Lock lock(mutex_);
  return lookUp(resources_, joined(name, '.', type));
}

std::shared_ptr<LayoutResource> FakeBundle::loadLayout(const std::string& bundlePath, std::string_view name) {
  Lock lock(mutex_);
  const auto entry = layouts_.find(joined(bundlePath, '/', name));
  return entry == layouts_.end() ? nullptr : entry->second;
}

std::string FakeBundle::localizedString(std::string_view text) {
  Lock lock(mutex_);
  return lookUp(localizedTexts_, text).value_or(std::string(text));
}

void FakeBundle::setInfoValue(std::string_view key, std::optional<std::string> value) {
  Lock lock(mutex_);
  setOrRemove(info_, key, std::move(value));
}

void FakeBundle::setResource(std::string_view fileName, std::optional<std::string> path) {
  Lock lock(mutex_);
  setOrRemove(resources_, fileName, std::move(path));
}

void FakeBundle::setLayout(const std::string& bundlePath, std::string_view name,
                           std::shared_ptr<LayoutResource> layout) {
  Lock lock(mutex_);
  layouts_.insert_or_assign(joined(bundlePath, '/', name), std::move(layout));
}

void FakeBundle::setLocalizedString(std::string_view text, std::string localized) {
  Lock lock(mutex_);
  setOrRemove(localizedTexts_, text, std::move(localized));
}

}  // namespace lumora::testing
