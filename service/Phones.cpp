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
  try {
    save();
  } catch (const std::exception&) {
    // One that the next start would not know is none now either.
    const Lock lock(mutex_);
    phones_.erase(phone->settings().id);
    throw;
  }
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
  world_.feed.tell("phone-gone", {{"id", id}});
  save();
}

void Phones::save() const {
  JSON list = JSON::array();
  const Lock lock(mutex_);
  for (const auto& [id, phone] : phones_) list.push_back(jsonOf(phone->settings()));
  std::string text = list.dump(1, ' ', false, JSON::error_handler_t::replace) + '\n';
  // Most commands change nothing of it, and a disk that is full is no reason to refuse those.
  if (text == saved_) return;
  writePrivateFile(directory_ + "/phones.json", text);
  saved_ = std::move(text);
}

}  // namespace lumora::service
