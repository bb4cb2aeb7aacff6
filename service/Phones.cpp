// The list of phones and its file. What a phone does is in Phone.cpp.
#include "service/Phones.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "service/Files.h"

namespace lumora::service {
namespace {

constexpr std::size_t kMostPhones = 16;

JSON jsonOf(const PhoneSettings& settings) {
  return {{"id", settings.id},
          {"name", settings.name},
          {"account", settings.account},
          {"model", settings.model},
          {"system", settings.systemVersion},
          {"version", settings.version},
          {"build", settings.build},
          {"ahead", settings.ahead},
          {"online", settings.isOnline}};
}

PhoneSettings settingsOf(const JSON& json) {
  PhoneSettings settings;
  settings.id = json.value("id", 0);
  settings.name = json.value("name", "");
  settings.account = json.value("account", "");
  settings.model = json.value("model", settings.model);
  settings.systemVersion = json.value("system", settings.systemVersion);
  settings.version = json.value("version", settings.version);
  settings.build = json.value("build", settings.build);
  settings.ahead = json.value("ahead", 0.0);
  settings.isOnline = json.value("online", true);
  return settings;
}

}  // namespace

Phones::Phones(std::string directory, PhoneWorld world)
    : directory_(std::move(directory)), world_(std::move(world)) {
  ::mkdir(directory_.c_str(), 0700);
  std::ifstream file(directory_ + "/phones.json");
  const JSON list = file ? JSON::parse(file, nullptr, false) : JSON::array();
  const Lock lock(mutex_);
  // A file that cannot be read is as good as none: a phone is added with a click.
  if (!list.is_array()) return;
  for (const JSON& entry : list) {
    try {
      make(settingsOf(entry));
    } catch (const JSON::exception&) {
      continue;
    }
  }
}

std::shared_ptr<Phone> Phones::make(PhoneSettings settings) {
  const int id = settings.id;
  const std::string folder = directory_ + '/' + std::to_string(id);
  return phones_[id] = std::make_shared<Phone>(std::move(settings), folder, world_);
}

JSON Phones::descriptions() const {
  JSON list = JSON::array();
  const Lock lock(mutex_);
  for (const auto& [id, phone] : phones_) list.push_back(phone->description());
  return list;
}

std::shared_ptr<Phone> Phones::find(int id) const {
  const Lock lock(mutex_);
  const auto found = phones_.find(id);
  return found == phones_.end() ? nullptr : found->second;
}

std::shared_ptr<Phone> Phones::add(PhoneSettings settings) {
  std::shared_ptr<Phone> phone;
  {
    const Lock lock(mutex_);
    if (phones_.size() >= kMostPhones)
      throw std::runtime_error("There are 16 phones already; remove one first.");
    settings.id = phones_.empty() ? 1 : phones_.rbegin()->first + 1;
    phone = make(std::move(settings));
  }
  save();
  world_.feed.tell("phone", phone->description());
  return phone;
}

void Phones::remove(int id) {
  const auto phone = find(id);
  if (!phone) return;
  phone->kill();
  {
    const Lock lock(mutex_);
    phones_.erase(id);
  }
  std::error_code error;
  std::filesystem::remove_all(directory_ + '/' + std::to_string(id), error);
  save();
  world_.feed.tell("phone-gone", {{"id", id}});
}

void Phones::save() const {
  JSON list = JSON::array();
  const Lock lock(mutex_);
  for (const auto& [id, phone] : phones_) list.push_back(jsonOf(phone->settings()));
  writePrivateFile(directory_ + "/phones.json",
                   list.dump(1, ' ', false, JSON::error_handler_t::replace) + '\n');
}

}  // namespace lumora::service
